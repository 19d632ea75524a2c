#include "app/pin_model.hpp"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>

#include "base/check.hpp"
#include "base/round_trip.hpp"
#include "editor/records/output_failure.hpp"

namespace vantorel {
namespace {

constexpr std::chrono::seconds saidTime{3};
constexpr double leastSide = 24;
constexpr double mostSide = 16'000;
constexpr double mostZoom = 8;
constexpr double cascade = 32;
/// How many times narrower than it could be a picture may get to be pinned whole.
constexpr double narrowest = 3;

Box sharedPart(const Box& one, const Box& other) {
  const double left = std::max(one.x, other.x);
  const double top = std::max(one.y, other.y);
  const double right = std::min(one.x + one.w, other.x + other.w);
  const double bottom = std::min(one.y + one.h, other.y + other.h);
  return {left, top, std::max(0.0, right - left), std::max(0.0, bottom - top)};
}

/// How far `from` to `from + length` has to move to have `seen` of itself between `start` and
/// `end`.
double wayInto(double from, double length, double start, double end, double seen) {
  seen = std::min({seen, length, end - start});
  if (from + length < start + seen) return start + seen - (from + length);
  return from > end - seen ? end - seen - from : 0;
}

}  // namespace

PinModel::PinModel(Services services, std::string title, Image picture, double scale)
    : services_(std::move(services)),
      title_(std::move(title)),
      picture_(std::move(picture)),
      scale_(scale) {
  VT_CHECK(!picture_.isEmpty() && scale_ > 0);
  frame_ = {0, 0, picture_.width() / scale_, picture_.height() / scale_};
}

void PinModel::setPicture(Image picture, double scale) {
  VT_CHECK(!picture.isEmpty() && scale > 0);
  const Pt at = middle();
  picture_ = std::move(picture);
  scale_ = scale;
  fitFrame();
  frame_.x = at.x - frame_.w / 2;
  frame_.y = at.y - frame_.h / 2;
  observers_.notify({.picture = true, .frame = true});
  keepSeen();
}

void PinModel::placeOn(const Box& area, int place) {
  const double width = picture_.width() / scale_;
  const double height = picture_.height() / scale_;
  zoom_ = std::min({1.0, area.w / 2 / width, area.h / 2 / height});
  const double widest = std::min(width, area.w / 3);
  if (width * zoom_ * narrowest < widest) {
    tallest_ = area.h * 3 / 4;
    zoom_ = widest / width;
  }
  zoom_ = clampedZoom(zoom_);
  fitFrame();
  // Beyond a handful they would leave the display; the next row lies between those there are.
  const double aside = cascade * (place % 8) + cascade / 4 * (place / 8 % 4);
  frame_.x = std::round(area.x + (area.w - frame_.w) / 2 + aside);
  frame_.y = std::round(area.y + (area.h - frame_.h) / 2 + aside);
  observers_.notify({.frame = true});
}

/// As large as the picture is shown, as far as that goes.
void PinModel::fitFrame() {
  frame_.w = picture_.width() / scale_ * zoom_;
  frame_.h = std::min(shownHeight(), tallest_);
  scroll_ = std::clamp(scroll_, 0.0, mostScroll());
}

void PinModel::scrollBy(double dy) {
  const double before = std::exchange(scroll_, std::clamp(scroll_ + dy, 0.0, mostScroll()));
  if (scroll_ != before) observers_.notify({.part = true});
}

PixelRect PinModel::shownPart() const {
  const double pixels = scale_ / zoom_;  // a point
  const int rows =
      std::clamp(static_cast<int>(std::round(frame_.h * pixels)), 1, picture_.height());
  const int top =
      std::clamp(static_cast<int>(std::round(scroll_ * pixels)), 0, picture_.height() - rows);
  return {0, top, picture_.width(), rows};
}

void PinModel::moveBy(double dx, double dy) {
  frame_.x += dx;
  frame_.y += dy;
  observers_.notify({.frame = true});
  keepSeen();
}

double PinModel::clampedZoom(double zoom) const {
  const double width = picture_.width() / scale_;
  const double height = picture_.height() / scale_;
  double most = mostZoom;
  if (!displays_.empty()) {  // as it was captured at least, and no larger than can be looked at
    double across = 0;
    double down = 0;
    for (const Box& display : displays_) {
      across = std::max(across, display.w);
      down = std::max(down, display.h);
    }
    most = std::min(most, std::max(1.0, 2 * std::min(across / width, down / height)));
  }
  most = std::min(most, mostSide / width);
  if (tallest_ > mostSide) most = std::min(most, mostSide / height);
  const double least = std::min(1.0, std::max(leastSide / width, leastSide / height));
  return std::clamp(zoom, std::min(least, most), std::max(least, most));
}

void PinModel::setZoom(double zoom, Pt at) {
  zoom = clampedZoom(zoom);
  if (zoom == zoom_) return;
  const double by = zoom / zoom_;
  zoom_ = zoom;
  const double down = (scroll_ + at.y - frame_.y) * by;  // from the picture's top to `at`
  frame_.x = at.x - (at.x - frame_.x) * by;
  // One that is scrolled stays where it is, and what it shows moves.
  if (shownHeight() <= tallest_) frame_.y = at.y - (at.y - frame_.y) * by;
  scroll_ = down - (at.y - frame_.y);
  fitFrame();
  observers_.notify({.frame = true, .part = true});
  keepSeen();
}

void PinModel::zoomBy(double steps, Pt at) { setZoom(zoom_ * std::pow(zoomStep, steps), at); }

void PinModel::resetZoom(Pt at) { setZoom(1, at); }

void PinModel::setDisplays(std::vector<Box> displays) {
  displays_ = std::move(displays);
  keepSeen();
}

void PinModel::keepSeen(double least) {
  const Box* nearest = nullptr;
  double shortest = std::numeric_limits<double>::max();
  const double across = std::min(least, frame_.w);
  const double down = std::min(least, frame_.h);
  for (const Box& display : displays_) {
    const Box shared = sharedPart(frame_, display);
    if (shared.w >= std::min(across, display.w) && shared.h >= std::min(down, display.h)) return;
    const double dx = wayInto(frame_.x, frame_.w, display.x, display.x + display.w, least);
    const double dy = wayInto(frame_.y, frame_.h, display.y, display.y + display.h, least);
    const double way = std::hypot(dx, dy);
    if (way < shortest) {
      shortest = way;
      nearest = &display;
    }
  }
  if (nearest == nullptr) return;
  frame_.x += wayInto(frame_.x, frame_.w, nearest->x, nearest->x + nearest->w, least);
  frame_.y += wayInto(frame_.y, frame_.h, nearest->y, nearest->y + nearest->h, least);
  observers_.notify({.frame = true});
}

double PinModel::opacity() const {
  return letsClicksThrough_ ? std::min(opacity_, throughOpacity) : opacity_;
}

void PinModel::fade(int steps) {
  const double wanted = std::round((opacity_ + 0.1 * steps) * 10) / 10;
  opacity_ = std::clamp(wanted, leastOpacity, 1.0);
  observers_.notify({.look = true});
}

void PinModel::setClickThrough(bool isOn) {
  if (letsClicksThrough_ == isOn) return;
  letsClicksThrough_ = isOn;
  observers_.notify({.look = true});
  if (isOn) say("Clicks go through · Make Pins Clickable is in the tray's menu and in Help");
}

void PinModel::comeBack() {
  setClickThrough(false);
  keepSeen(mostSide);
}

void PinModel::say(std::string text) {
  said_ = std::move(text);
  observers_.notify({.look = true});
  saying_.renew();
  services_.main->postAfter(saidTime, saying_.guard([this] {
    said_.clear();
    observers_.notify({.look = true});
  }));
}

void PinModel::copy() {
  roundTrip(
      *services_.work, services_.main,
      [picture = picture_, scale = scale_, codec = services_.codec] {
        return codec->encode(picture, {.format = ExportFormat::png, .pixelsPerPoint = scale});
      },
      lifetime_.guard([this](Result<std::string> png) {
        Clipboard* const clipboard = services_.clipboard();
        if (!png || clipboard == nullptr) {
          return say(sentence(png ? OutputFailure::clipboardRefused : OutputFailure::notPrepared));
        }
        clipboard->setImage(*std::move(png), lifetime_.guard([this](const Result<void>& copied) {
          say(copied ? "Copied" : sentence(OutputFailure::clipboardRefused));
        }));
      }));
}

void PinModel::close() { observers_.notify({.closed = true}); }

void PinModel::takeKeys() {
  comeBack();
  observers_.notify({.keys = true});
}

void PinModel::passKeysOn() { observers_.notify({.next = true}); }

}  // namespace vantorel
