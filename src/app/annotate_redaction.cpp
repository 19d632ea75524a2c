#include <fmt/format.h>
#include <fmt/ranges.h>

#include <new>
#include <utility>

#include "app/annotate_editing.hpp"
#include "base/count_text.hpp"
#include "base/round_trip.hpp"
#include "editor/entry_document.hpp"
#include "text/sensitive_words.hpp"

// What an Annotate window does about what should not be shared.

namespace vantorel {

SmartRedactSession* AnnotateModel::smartRedact() {
  return editing_ != nullptr ? editing_->smartRedact.get() : nullptr;
}

/// Canvas and layers without what is drawn on them.
void AnnotateModel::drawGround(EditorDocument ground, std::function<void(Image)> drawn) {
  roundTrip(
      *services_.work, services_.main,
      [ground = std::move(ground), drawing = &editing_->drawing, base = editing_->base,
       part = shownPart(std::nullopt, editor().canvasSize()), files = services_.files,
       codec = services_.codec] {
        const auto read = [&](const LayerSpec& layer) {
          return readPictureFile(*layer.path, layer.frameIndex, *files, *codec);
        };
        try {
          return drawing->buildLayers(ground, base, read, part).image;
        } catch (const std::bad_alloc&) {
          return Image();
        }
      },
      lifetime_.guard(std::move(drawn)));
}

void AnnotateModel::redactFinds() {
  SmartRedactSession* const redaction = smartRedact();
  if (redaction == nullptr) return;
  clearNotice();
  const int count = redaction->redact();
  if (count > 0) {
    say(fmt::format("Redacted {} {}", countText(static_cast<std::uint64_t>(count)),
                    count == 1 ? "item" : "items"));
  }
}

void AnnotateModel::askToPublish(const std::string& question,
                                 const std::function<void(bool)>& answered) {
  std::vector<std::string> left;
  for (const auto& group : editing_->smartRedact->groups()) {
    const std::size_t count = group.finds.size();
    std::string name(count == 1 ? singularName(group.kind) : pluralName(group.kind));
    const bool isAbbreviation = name.size() > 1 && name[1] >= 'A' && name[1] <= 'Z';
    if (!isAbbreviation && name[0] >= 'A' && name[0] <= 'Z') name[0] += 'a' - 'A';
    left.push_back(fmt::format("{} {}", countText(count), name));
  }
  services_.alerts.ask(
      {.style = Alert::Style::warning,
       .message = question,
       .informative = fmt::format("Found and not covered: {}.", fmt::join(left, ", ")),
       .buttons = {{"Publish"}, {"Review"}, {"Cancel", true, true}}},
      lifetime_.guard([this, answered](std::size_t button) {
        isReviewing_ = button == 1;
        answered(button == 0);
        if (!std::exchange(isReviewing_, false)) return;
        editing_->smartRedact->open();
      }));
}

void AnnotateModel::redactionChanged() {
  changed({.redaction = true});
  if (waitingForScan_.empty()) return;
  // After whoever has changed it.
  services_.main->post(lifetime_.guard([this] {
    if (smartRedact()->stage() == SmartRedactSession::Stage::scanning) return;
    clearNotice();
    for (const auto& go : std::exchange(waitingForScan_, {})) go();
  }));
}

/// While it is being looked through nobody knows what would be published.
void AnnotateModel::whenScanned(std::function<void()> go) {
  const SmartRedactSession* const redaction = smartRedact();
  if (redaction == nullptr || redaction->stage() != SmartRedactSession::Stage::scanning) {
    return go();
  }
  waitingForScan_.push_back(std::move(go));
  say(redaction->status());
}

void AnnotateModel::countFinds() {
  const SmartRedactSession* const redaction = smartRedact();
  editing_->session.setUnredactedFindings(redaction != nullptr ? redaction->openFinds() : 0);
}

// ---- what was covered before the capture was filed

void AnnotateModel::switchRedaction() {
  const auto kept = keptRedaction();
  if (!kept || !editing_ || isSwitchingRedaction_) return;
  clearNotice();
  isSwitchingRedaction_ = true;
  changed({.redaction = true});
  const bool covers = !kept->isCovering;
  // Whatever becomes of this window, the capture stays claimed until its file is whole again.
  capture_->switchRedaction(
      covers,
      [held = capture_,
       ended = lifetime_.guard([this, covers](Result<EditedCapture::Switched, std::string> done) {
         isSwitchingRedaction_ = false;
         changed({.redaction = true});
         if (!done) return say(done.error(), true);
         setBase(done->picture);
         editing_->input.setRecognised(done->recognised);
         say(covers ? "Redacted again" : "Redactions removed");
       })](Result<EditedCapture::Switched, std::string> done) mutable { ended(std::move(done)); });
}

/// Everything that shows or hands out the picture does so with the other one from now on.
void AnnotateModel::setBase(const Image& base) {
  editing_->base = base;
  editing_->session.setFlatten(flattening(editing_->drawing, base));
  editing_->scene.setBase(base);
  measuring_.renew();
  measuredDocument_.reset();
  weights_.clear();
  toMeasure_.clear();
  if (SmartRedactSession* const redaction = smartRedact()) redaction->pictureChanged();
  changed({.document = true, .formats = true});
}

}  // namespace vantorel
