#include "ui/history/picture_canvas.hpp"

#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>

#include "base/area_downscale.hpp"
#include "ui/history/hit_painting.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/shared_image.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr int margin = tokens::space32;

/// Rows of what is scaled at once.
constexpr int stripRows = 256;

/// In points, with one press of a key.
constexpr double line = 60;

/// How many times narrower than it could be a picture may get to be seen whole.
constexpr int narrowest = 3;

}  // namespace

PictureCanvas::PictureCanvas(QWidget* parent) : QWidget(parent) {
  setAttribute(Qt::WA_OpaquePaintEvent);
}

void PictureCanvas::show(const Image& picture) {
  if (picture_.isEmpty()) {
    entrance_.jump(false);
    entrance_.enter();
  }
  picture_ = picture;
  strips_.clear();
  text_.clear();
  isWhole_ = true;
  offset_ = {0, room().height()};  // at its top, once it is bound
  bound();
  update();
}

void PictureCanvas::mark(std::vector<Box> hits) {
  if (hits == hits_) return;
  hits_ = std::move(hits);
  currentHit_ = -1;
  update();
}

void PictureCanvas::stepToNextHit() {
  if (!hasHits()) return;
  currentHit_ = (currentHit_ + 1) % static_cast<int>(hits_.size());
  if (!isWhole_ || scrolls()) {
    const Box& hit = hits_[static_cast<std::size_t>(currentHit_)];
    const QSize shown = shownSize();
    offset_ = {room().width() / 2 - (hit.x + hit.w / 2) * shown.width(),
               room().height() / 2 - (hit.y + hit.h / 2) * shown.height()};
    bound();
  }
  update();
}

void PictureCanvas::say(const QString& text) {
  picture_ = {};
  strips_.clear();
  text_ = text;
  update();
}

QSize PictureCanvas::fitted() const {
  const QSize inside = ((QSizeF(size()) - QSizeF(2 * margin, 2 * margin)) * devicePixelRatioF())
                           .toSize()
                           .expandedTo(QSize(16, 16));
  const QSize picture = pictureSize();
  if (picture.width() <= inside.width() && picture.height() <= inside.height()) return picture;
  const QSize whole = picture.scaled(inside, Qt::KeepAspectRatio).expandedTo(QSize(1, 1));
  const int widest = std::min(inside.width(), picture.width());
  if (whole.width() * narrowest > widest) return whole;
  const double part = static_cast<double>(widest) / picture.width();
  return {widest, std::max(1, qRound(picture.height() * part))};
}

bool PictureCanvas::scrolls() const {
  return !picture_.isEmpty() && shownSize().height() > room().height();
}

void PictureCanvas::paintEvent(QPaintEvent*) {
  const PaletteRoles roles = rolesOf(palette());
  QPainter painter(this);
  painter.fillRect(rect(), roles.work);
  if (picture_.isEmpty()) {
    painter.setFont(tokens::bodyFont());
    painter.setPen(roles.text);
    painter.drawText(rect().adjusted(margin, margin, -margin, -margin),
                     Qt::AlignCenter | Qt::TextWordWrap, text_);
    return;
  }
  painter.setOpacity(entrance_.part());
  const double ratio = devicePixelRatioF();
  painter.scale(1 / ratio, 1 / ratio);
  const QRect place(offset_.toPoint(), shownSize());
  paintPicture(painter, place);
  paintHits(painter, placedHits(hits_, place), currentHit_);
  if (!isWhole_) return;
  painter.setPen(roles.line);
  painter.drawRect(place.adjusted(-1, -1, 0, 0));
  if (scrolls()) paintPosition(painter, place);
}

/// What can be seen of it.
void PictureCanvas::paintPicture(QPainter& painter, const QRect& place) {
  const QRect seen = QRect({}, room().toSize()).intersected(place).translated(-place.topLeft());
  if (seen.isEmpty()) return strips_.clear();
  if (place.size() == pictureSize()) {
    strips_.clear();
    const Image part = picture_.cropped({seen.x(), seen.y(), seen.width(), seen.height()});
    return painter.drawImage(place.topLeft() + seen.topLeft(), sharedImage(part));
  }
  const int first = seen.top() / stripRows;
  const int last = seen.bottom() / stripRows;
  std::erase_if(strips_, [&](const auto& one) { return one.first < first || one.first > last; });
  for (int number = first; number <= last; ++number) {
    painter.drawImage(place.topLeft() + QPoint(0, number * stripRows), strip(number, place.size()));
  }
}

const QImage& PictureCanvas::strip(int number, const QSize& whole) {
  if (stripsOf_ != whole) strips_.clear();
  stripsOf_ = whole;
  QImage& strip = strips_[number];
  if (!strip.isNull()) return strip;
  const int top = number * stripRows;
  const int bottom = std::min(top + stripRows, whole.height());
  const auto row = [&](int y) {
    return static_cast<int>(static_cast<std::int64_t>(y) * picture_.height() / whole.height());
  };
  const Image part = picture_.cropped({0, row(top), picture_.width(), row(bottom) - row(top)});
  strip = sharedImage(downscaled(part, {whole.width(), bottom - top})).copy();
  return strip;
}

/// Where in it what is seen lies.
void PictureCanvas::paintPosition(QPainter& painter, const QRect& place) const {
  const double all = place.height() + 2 * margin * devicePixelRatioF();
  const double ratio = devicePixelRatioF();
  const double track = room().height() - 2 * tokens::space4 * ratio;
  const double length = std::max(tokens::space32 * ratio, track * room().height() / all);
  const double way = (margin * ratio - offset_.y()) / (all - room().height());
  const double width = tokens::space4 * ratio;
  const double x = isRightToLeft() ? width : room().width() - 2 * width;
  QColor handle = rolesOf(palette()).text;
  handle.setAlphaF(0.45F);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  painter.setBrush(handle);
  painter.drawRoundedRect(QRectF(x, tokens::space4 * ratio + way * (track - length), width, length),
                          width / 2, width / 2);
}

void PictureCanvas::resizeEvent(QResizeEvent* event) {
  // What is seen of one that is scrolled stays at about its place.
  if (isWhole_ && !picture_.isEmpty() && stripsOf_.height() > 0 && event->oldSize().isValid() &&
      scrolls()) {
    offset_.ry() *= static_cast<double>(fitted().height()) / stripsOf_.height();
  }
  bound();
}

/// Nothing is panned beyond the picture's edges, and what is whole has some room around it.
void PictureCanvas::bound() {
  const QSize shown = shownSize();
  const double around = isWhole_ ? margin * devicePixelRatioF() : 0;
  const auto within = [around](double offset, double room, int length) {
    return length <= room ? std::floor((room - length) / 2)
                          : std::clamp(offset, room - length - around, around);
  };
  offset_ = {within(offset_.x(), room().width(), shown.width()),
             within(offset_.y(), room().height(), shown.height())};
}

void PictureCanvas::pan(const QPointF& by) {
  offset_ += by * devicePixelRatioF();
  bound();
  update();
}

bool PictureCanvas::scrollWith(const QKeyEvent& event) {
  if (!scrolls() || (event.modifiers() & ~Qt::KeypadModifier) != Qt::NoModifier) return false;
  const double page = height() * 0.9;
  const double all = static_cast<double>(shownSize().height()) + height();
  switch (event.key()) {
    case Qt::Key_Up: pan({0, line}); return true;
    case Qt::Key_Down: pan({0, -line}); return true;
    case Qt::Key_PageUp: pan({0, page}); return true;
    case Qt::Key_PageDown: pan({0, -page}); return true;
    case Qt::Key_Home: pan({0, all}); return true;
    case Qt::Key_End: pan({0, -all}); return true;
    default: return false;
  }
}

void PictureCanvas::mousePressEvent(QMouseEvent* event) {
  pressed_ = last_ = event->pos();
  isDragged_ = false;
}

void PictureCanvas::mouseMoveEvent(QMouseEvent* event) {
  if ((isWhole_ && !scrolls()) || !event->buttons().testFlag(Qt::LeftButton)) return;
  isDragged_ |= (event->pos() - pressed_).manhattanLength() >= QApplication::startDragDistance();
  pan(event->pos() - last_);
  last_ = event->pos();
}

void PictureCanvas::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton || isDragged_ || picture_.isEmpty()) return;
  const QSize before = shownSize();
  if (isWhole_ && before == pictureSize()) return;
  isWhole_ = !isWhole_;
  // What was clicked stays under the pointer.
  const QPointF at = event->position() * devicePixelRatioF();
  offset_ = at - (at - offset_) * (static_cast<double>(shownSize().width()) / before.width());
  bound();
  update();
}

void PictureCanvas::wheelEvent(QWheelEvent* event) {
  if (isWhole_ && !scrolls()) return event->ignore();
  pan(QPointF(event->angleDelta()) / 2);
}

}  // namespace vantorel
