#include "app/smart_redact_session.hpp"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

#include "editor/export_gate.hpp"
#include "editor/redaction_cover.hpp"
#include "editor/shape_geometry.hpp"
#include "text/sensitive_words.hpp"

namespace vantorel {
namespace {

/// A layer that is being moved is looked at once it has come to rest.
constexpr std::chrono::milliseconds restTime{700};

/// A cover is no mark: it has no color of the tool's.
constexpr const char* coverColor = "#000000";
constexpr const char* redactStep = "Smart Redact";

/// Whether both layers show the same.
bool looksAlike(const LayerSpec& a, const LayerSpec& b) {
  if (!a.visible && !b.visible) return true;
  return a.visible == b.visible && a.path == b.path && a.frameIndex == b.frameIndex &&
         a.frame == b.frame && a.opacity == b.opacity && a.border == b.border;
}

Box roundedOut(const Box& box) {
  const double left = std::floor(box.x);
  const double top = std::floor(box.y);
  return {left, top, std::ceil(box.right()) - left, std::ceil(box.bottom()) - top};
}

}  // namespace

bool SmartRedactSession::Ground::operator==(const Ground& other) const {
  return missing == other.missing && picture == other.picture && enabled == other.enabled &&
         (canvas == other.canvas || *canvas == *other.canvas) &&
         (layers == other.layers || std::ranges::equal(*layers, *other.layers, looksAlike));
}

SmartRedactSession::SmartRedactSession(Services services)
    : services_(std::move(services)), style_(services_.settings.values().defaultRedactStyle) {
  const auto changed = [this] { detectorsChanged(); };
  faces_ = services_.settings.observe(&SettingsValues::smartRedactFaces, changed);
  people_ = services_.settings.observe(&SettingsValues::smartRedactPeople, changed);
}

SmartRedactSession::Ground SmartRedactSession::groundNow() const {
  const EditorSnapshot& state = services_.editor.state();
  return {state.layers, state.canvas, services_.missingLayers(), pictures_,
          enabledDetectors(services_.settings.values())};
}

void SmartRedactSession::open() {
  if (std::exchange(isOpen_, true)) return;
  services_.changed();
  const bool isKnown =
      (stage_ == Stage::found || stage_ == Stage::nothingFound) && ground_ == groundNow();
  if (!isKnown) startScan();
}

void SmartRedactSession::close() {
  if (!std::exchange(isOpen_, false)) return;
  waiting_.renew();
  cancel();
  services_.changed();
}

void SmartRedactSession::scanAgain() { startScan(); }

void SmartRedactSession::cancel() {
  if (stage_ != Stage::scanning) return;
  scanning_.renew();
  scan_.reset();
  // What is there now has not been looked at.
  ground_.reset();
  stage_ = settled_;
  services_.changed();
}

void SmartRedactSession::startScan() {
  waiting_.renew();
  scanning_.renew();
  scan_.reset();
  stage_ = Stage::scanning;
  ground_ = groundNow();
  const VisualDetectors enabled = ground_->enabled;
  looksAtPictures_ = !enabled.isEmpty();
  services_.changed();
  EditorDocument ground;
  ground.layers = *ground_->layers;
  ground.canvas = *ground_->canvas;
  const double scale =
      services_.editor.captureScale().value_or(1) * std::abs(services_.editor.toCanvas().sx);
  services_.draw(std::move(ground), scanning_.guard([this, scale, enabled](Image picture) {
    if (picture.isEmpty()) {
      return scanned(std::unexpected(
          RecognitionFailure{RecognitionFailure::Case::failed, "the layers couldn't be drawn"}));
    }
    scan_ = services_.scan(
        std::move(picture), scale, enabled,
        scanning_.guard([this](SensitiveScans::Answer answer) { scanned(std::move(answer)); }));
  }));
}

void SmartRedactSession::scanned(SensitiveScans::Answer answer) {
  // Whoever calls may be the scan itself, which goes with the next one.
  scanning_.renew();
  if (!answer) {
    failure_ = sentence(answer.error());
    remark_.clear();
    stage_ = settled_ = Stage::failed;
    services_.changed();
    return;
  }
  failure_.clear();
  remark_ = unavailableSentence(answer->unavailable);
  if (answer->reading && answer->reading->isTruncated) {
    if (!remark_.empty()) remark_ += ' ';
    remark_ += "There was more text than could be read.";
  }
  takeFinds(answer->proposals);
  stage_ = settled_ = finds_.empty() ? Stage::nothingFound : Stage::found;
  services_.changed();
}

/// What was switched off before stays so where it is found again.
void SmartRedactSession::takeFinds(const std::vector<SmartRedact::Proposal>& proposals) {
  std::vector<Find> found;
  std::optional<int> match;
  for (const SmartRedact::Proposal& proposal : proposals) {
    const bool goesOn =
        !found.empty() && match == proposal.match && found.back().kind == proposal.kind;
    if (!goesOn) found.push_back({proposal.kind, proposal.text, {}});
    found.back().boxes.push_back(proposal.rect);
    match = proposal.match;
  }
  for (Find& find : found) {
    const Box& box = find.boxes.front();
    const Pt middle{box.x + box.w / 2, box.y + box.h / 2};
    find.isChosen = std::ranges::none_of(finds_, [&](const Find& before) {
      return !before.isChosen && before.kind == find.kind && contains(before.boxes.front(), middle);
    });
  }
  finds_ = std::move(found);
  ++generation_;
  isDerived_ = false;
}

void SmartRedactSession::documentChanged() {
  isDerived_ = false;
  if (!isOpen_ || !ground_ || ground_ == groundNow()) return;
  waiting_.renew();
  services_.main->postAfter(restTime, waiting_.guard([this] {
    if (ground_ == groundNow()) return;
    if (services_.editor.isInStep()) return documentChanged();
    startScan();
  }));
}

/// Whoever reads the list expects what the settings say; what was asked for is done at once.
void SmartRedactSession::detectorsChanged() {
  if (isOpen_ && ground_ && ground_ != groundNow()) startScan();
}

void SmartRedactSession::pictureChanged() {
  ++pictures_;
  if (isOpen_) return startScan();
  // Of another picture nothing is known.
  cancel();
  finds_.clear();
  ++generation_;
  isDerived_ = false;
  stage_ = settled_ = Stage::idle;
  services_.changed();
}

std::string SmartRedactSession::status() const {
  switch (stage_) {
    case Stage::idle: return "Not scanned yet.";
    case Stage::scanning:
      return looksAtPictures_ ? "Scanning for sensitive content" : "Scanning for sensitive text";
    case Stage::found: return openFinds() > 0 ? std::string() : "All that was found is covered.";
    case Stage::nothingFound: return "Nothing sensitive found.";
    case Stage::failed: return failure_;
  }
  std::unreachable();
}

std::string SmartRedactSession::remark() const { return remark_; }

/// Whether something of it is in what an export shows, and not covered.
bool SmartRedactSession::isSeen(const Find& find) const {
  const PixelRect part = services_.editor.shownPart();
  const Box shown{double(part.x), double(part.y), double(part.width), double(part.height)};
  return std::ranges::any_of(find.boxes, [&](const Box& box) {
    return intersects(box, shown) && !isCovered(box, covers_);
  });
}

void SmartRedactSession::derive() const {
  if (std::exchange(isDerived_, true)) return;
  groups_.clear();
  if (finds_.empty()) return;
  const EditorSnapshot& state = services_.editor.state();
  covers_ = redactedBoxes(*state.shapes, *state.layers, services_.editor.captureSize());
  for (std::size_t i = 0; i < finds_.size(); ++i) {
    const Find& find = finds_[i];
    if (!isSeen(find)) continue;
    auto group = std::ranges::find(groups_, find.kind, &Group::kind);
    if (group == groups_.end()) group = groups_.insert(group, Group{find.kind, {}, 0});
    group->finds.push_back(i);
    if (find.isChosen) ++group->chosen;
  }
  std::ranges::sort(groups_, {}, &Group::kind);
}

const std::vector<SmartRedactSession::Group>& SmartRedactSession::groups() const {
  derive();
  return groups_;
}

int SmartRedactSession::openFinds() const {
  int count = 0;
  for (const Group& group : groups()) count += static_cast<int>(group.finds.size());
  return count;
}

int SmartRedactSession::chosenFinds() const {
  int count = 0;
  for (const Group& group : groups()) count += static_cast<int>(group.chosen);
  return count;
}

void SmartRedactSession::choose(SensitiveMatchKind kind, bool isChosen) {
  for (const Group& group : groups()) {
    if (group.kind != kind) continue;
    for (const std::size_t find : group.finds) finds_[find].isChosen = isChosen;
  }
  isDerived_ = false;
  services_.changed();
}

void SmartRedactSession::choose(std::size_t find, bool isChosen) {
  if (find >= finds_.size()) return;
  finds_[find].isChosen = isChosen;
  isDerived_ = false;
  services_.changed();
}

void SmartRedactSession::setStyle(RedactStyle style) {
  if (std::exchange(style_, style) != style) services_.changed();
}

int SmartRedactSession::redact() {
  std::vector<Box> boxes;
  int count = 0;
  for (const Group& group : groups()) {
    for (const std::size_t index : group.finds) {
      if (!finds_[index].isChosen) continue;
      ++count;
      for (const Box& box : finds_[index].boxes) {
        if (!isCovered(box, covers_)) boxes.push_back(box);
      }
    }
  }
  if (boxes.empty()) return 0;
  EditorModel& editor = services_.editor;
  editor.endText();
  const AxisMap toCapture = editor.toCanvas().inverse();
  editor.edit(redactStep, [&](EditorSnapshot& state) {
    for (const Box& box : boxes) {
      Shape shape = editor.newShape(ShapeType::redact);
      shape.redactStyle = style_;
      shape.color = coverColor;
      const Box placed = roundedOut(toCapture(roundedOut(box)));
      shape.x1 = placed.x;
      shape.y1 = placed.y;
      shape.x2 = placed.right();
      shape.y2 = placed.bottom();
      state.append(std::move(shape));
    }
  });
  isDerived_ = false;
  services_.changed();
  return count;
}

}  // namespace vantorel
