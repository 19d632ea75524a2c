#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "app/card_stack.hpp"
#include "app/document_storing.hpp"
#include "base/count_text.hpp"
#include "capture/kept_redaction.hpp"
#include "editor/capture_text.hpp"
#include "editor/entry_document.hpp"

namespace vantorel {
namespace {

std::string itemsText(std::size_t items) {
  return fmt::format("{} {}", countText(items), items == 1 ? "item" : "items");
}

}  // namespace

void CardStack::addRedactRow(const Card& card, const std::string& busy, CardRows& rows) const {
  if (!services_.redact) {
    rows.redact =
        CardRow{.label = "Redact", .note = "No text read yet", .obstacle = "No text read yet"};
    return;
  }
  rows.redact = CardRow{.label = "Redact", .note = {}, .obstacle = busy};
  if (const auto kept = keptRedaction(*card.entry, services_.library.paths());
      kept && services_.switchRedaction) {
    rows.redact->label = kept->isCovering ? redaction_words::remove : redaction_words::reapply;
    if (kept->areas > 0) rows.redact->note = itemsText(kept->areas);
    return;
  }
  const auto known = redactions_.find(card.number);
  if (known == redactions_.end()) return;
  const Redaction& redaction = known->second;
  if (redaction.shapes.empty()) {
    rows.redact->note = "Nothing found";
    return;
  }
  rows.redact->label = "Undo Redact";
  rows.redact->note = itemsText(std::size_t(redaction.finds));
}

void CardStack::redact(std::uint64_t number) {
  const Card* const card = find(number);
  if (card == nullptr || !services_.redact) return;
  const auto row = rows(*card).redact;
  if (!row || !row->obstacle.empty()) return;
  if (const auto kept = keptRedaction(*card->entry, services_.library.paths());
      kept && services_.switchRedaction) {
    return switchRedaction(number, !kept->isCovering);
  }
  const auto known = redactions_.find(number);
  if (known != redactions_.end() && !known->second.shapes.empty()) return undoRedaction(number);
  const EntryPointer before = card->entry;
  if (!begin(number)) return;
  services_.redact(before->id,
                   lifetime_.guard([this, number, before](const Result<int, std::string>& finds) {
                     ended(number, finds ? std::string() : finds.error());
                     if (finds) redacted(number, *before, *finds);
                   }));
}

void CardStack::redacted(std::uint64_t number, const ScreenshotEntry& before, int finds) {
  Card* const card = at(number);
  const EntryPointer now = services_.library.store().find(before.id);
  if (card == nullptr || now == nullptr) return;
  Redaction redaction{.finds = finds, .shapes = {}};
  for (const Shape& shape : now->shapes) {
    if (shape.type == ShapeType::redact &&
        std::ranges::find(before.shapes, shape.id, &Shape::id) == before.shapes.end()) {
      redaction.shapes.push_back(shape.id);
    }
  }
  redactions_[number] = std::move(redaction);
  if (finds > 0) services_.copying.renew(before, *now);
  tell(*card, finds > 0 ? "Redacted " + itemsText(std::size_t(finds)) : "Nothing sensitive found");
}

void CardStack::undoRedaction(std::uint64_t number) {
  const EntryPointer entry = services_.library.store().find(find(number)->entry->id);
  if (entry == nullptr) return;
  auto claim = services_.library.claim(entry->id, EntryWork::rewriting);
  if (!claim) return ended(number, sentence(claim.error()));
  if (!begin(number)) return;
  const PixelSize size{entry->pixelWidth.value_or(0), entry->pixelHeight.value_or(0)};
  EditorDocument document = documentOf(*entry, size);
  const std::vector<std::string>& added = redactions_[number].shapes;
  std::erase_if(document.shapes, [&](const Shape& shape) {
    return std::ranges::find(added, shape.id) != added.end();
  });
  storeDocument(
      services_.library, entry->id, document, size, IfUnsaved::keep,
      lifetime_.guard([this, number, held = std::make_shared<EntryClaim>(*std::move(claim))](
                          const Result<EntryPointer, EntryFailure>& stored) {
        held->end();
        ended(number, stored ? std::string() : sentence(stored.error()));
        if (stored) redactions_.erase(number);
        changed_.notify();
      }));
}

void CardStack::switchRedaction(std::uint64_t number, bool covers) {
  const std::string id = find(number)->entry->id;
  if (!begin(number)) return;
  services_.switchRedaction(
      id, covers, lifetime_.guard([this, number, covers](const Result<void, std::string>& done) {
        ended(number, done ? std::string() : done.error());
        Card* const card = at(number);
        if (done && card != nullptr) tell(*card, covers ? "Redacted again" : "Redactions removed");
      }));
}

void CardStack::addTextRow(const Card& card, CardRows& rows) const {
  if (!services_.copyText) return;
  std::string room;
  if (captureTextIn(*card.entry, room).empty()) return;
  rows.copyText = CardRow{.label = "Copy Text", .note = {}, .obstacle = {}};
}

void CardStack::copyText(std::uint64_t number) {
  const Card* const card = find(number);
  if (card == nullptr || !rows(*card).copyText) return;
  const std::string text =
      copiedCaptureText(*card->entry, services_.settings.values().joinCopiedTextLines);
  if (text.empty() || !begin(number)) return;
  services_.copyText(text, lifetime_.guard([this, number](const std::string& why) {
    ended(number, why);
    Card* const shown = at(number);
    if (why.empty() && shown != nullptr) tell(*shown, "Text copied");
  }));
}

}  // namespace vantorel
