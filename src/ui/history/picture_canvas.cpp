#include "ui/history/picture_canvas.hpp"

#include <QApplication>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>
#include <algorithm>
#include <utility>

#include "ui/history/hit_painting.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr int margin = tokens::space32;

}  // namespace

PictureCanvas::PictureCanvas(QWidget* parent) : QWidget(parent) {
  setAttribute(Qt::WA_OpaquePaintEvent);
}

void PictureCanvas::show(const QImage& picture) {
  if (picture_.isNull()) {
    entrance_.jump(false);
    entrance_.enter();
  }
  picture_ = picture;
  fittedPixmap_ = {};
  text_.clear();
  isWhole_ = true;
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
  if (!isWhole_) {
    const Box& hit = hits_[static_cast<std::size_t>(currentHit_)];
    const QSizeF device = QSizeF(size()) * devicePixelRatioF();
    offset_ = {device.width() / 2 - (hit.x + hit.w / 2) * picture_.width(),
               device.height() / 2 - (hit.y + hit.h / 2) * picture_.height()};
    bound();
  }
  update();
}

void PictureCanvas::say(const QString& text) {
  picture_ = {};
  fittedPixmap_ = {};
  text_ = text;
  update();
}

QSize PictureCanvas::fitted() const {
  const QSize room = ((QSizeF(size()) - QSizeF(2 * margin, 2 * margin)) * devicePixelRatioF())
                         .toSize()
                         .expandedTo(QSize(16, 16));
  if (picture_.width() <= room.width() && picture_.height() <= room.height()) {
    return picture_.size();
  }
  return picture_.size().scaled(room, Qt::KeepAspectRatio).expandedTo(QSize(1, 1));
}

void PictureCanvas::paintEvent(QPaintEvent*) {
  const PaletteRoles roles = rolesOf(palette());
  QPainter painter(this);
  painter.fillRect(rect(), roles.work);
  if (picture_.isNull()) {
    painter.setFont(tokens::bodyFont());
    painter.setPen(roles.text);
    painter.drawText(rect().adjusted(margin, margin, -margin, -margin),
                     Qt::AlignCenter | Qt::TextWordWrap, text_);
    return;
  }
  painter.setOpacity(entrance_.part());
  const double ratio = devicePixelRatioF();
  painter.scale(1 / ratio, 1 / ratio);
  const QSize device = (QSizeF(size()) * ratio).toSize();
  if (!isWhole_) {
    painter.drawImage(offset_.toPoint(), picture_);
    paintHits(painter, placedHits(hits_, QRectF(offset_.toPoint(), picture_.size())), currentHit_);
    return;
  }
  const QSize wanted = fitted();
  if (fittedPixmap_.size() != wanted) {
    fittedPixmap_ = QPixmap::fromImage(
        wanted == picture_.size()
            ? picture_
            : picture_.scaled(wanted, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
  }
  const QPoint corner((device.width() - wanted.width()) / 2,
                      (device.height() - wanted.height()) / 2);
  painter.drawPixmap(corner, fittedPixmap_);
  paintHits(painter, placedHits(hits_, QRectF(corner, wanted)), currentHit_);
  painter.setPen(roles.line);
  painter.drawRect(QRect(corner, wanted).adjusted(-1, -1, 0, 0));
}

void PictureCanvas::resizeEvent(QResizeEvent*) { bound(); }

/// Nothing is panned beyond the picture's edges.
void PictureCanvas::bound() {
  const QSizeF device = QSizeF(size()) * devicePixelRatioF();
  const auto within = [](double offset, double room, int length) {
    return length <= room ? (room - length) / 2 : std::clamp(offset, room - length, 0.0);
  };
  offset_ = {within(offset_.x(), device.width(), picture_.width()),
             within(offset_.y(), device.height(), picture_.height())};
}

void PictureCanvas::pan(const QPoint& by) {
  offset_ += QPointF(by) * devicePixelRatioF();
  bound();
  update();
}

void PictureCanvas::mousePressEvent(QMouseEvent* event) {
  pressed_ = last_ = event->pos();
  isDragged_ = false;
}

void PictureCanvas::mouseMoveEvent(QMouseEvent* event) {
  if (isWhole_ || !event->buttons().testFlag(Qt::LeftButton)) return;
  isDragged_ |= (event->pos() - pressed_).manhattanLength() >= QApplication::startDragDistance();
  pan(event->pos() - last_);
  last_ = event->pos();
}

void PictureCanvas::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton || isDragged_ || picture_.isNull()) return;
  const QSize whole = fitted();
  if (isWhole_ && whole == picture_.size()) return;
  isWhole_ = !isWhole_;
  if (!isWhole_) {
    // What was clicked stays under the pointer.
    const QPointF at = event->position() * devicePixelRatioF();
    const QSizeF device = QSizeF(size()) * devicePixelRatioF();
    const QPointF corner((device.width() - whole.width()) / 2,
                         (device.height() - whole.height()) / 2);
    offset_ = at - (at - corner) * (static_cast<double>(picture_.width()) / whole.width());
    bound();
  }
  update();
}

void PictureCanvas::wheelEvent(QWheelEvent* event) {
  if (isWhole_) return event->ignore();
  pan(event->angleDelta() / 2);
}

}  // namespace vantorel
