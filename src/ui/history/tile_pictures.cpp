#include "ui/history/tile_pictures.hpp"

#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <memory>

#include "editor/text_hits.hpp"
#include "ui/kit/shared_image.hpp"

namespace vantorel {
namespace {

constexpr int mostKilobytes = 40 * 1024;

QString keyOf(const ScreenshotEntry& entry) { return QString::fromStdString(entry.id); }

/// Whether a preview of the one is a preview of the other.
bool showsTheSame(const ScreenshotEntry& one, const ScreenshotEntry& other) {
  return lookOf(one) == lookOf(other);
}

/// The preview covers the tile from the top; a strip is shown whole.
QRect placeInTile(QSize preview, QSize size) {
  const bool isStrip = preview.width() > 2 * preview.height();
  const QSize scaled =
      preview.scaled(size, isStrip ? Qt::KeepAspectRatio : Qt::KeepAspectRatioByExpanding);
  // A small picture is enlarged no more than twice.
  const QSize drawn = scaled.width() > 2 * preview.width() ? preview * 2 : scaled;
  const bool isWhole = drawn.height() < size.height() || drawn.width() < size.width();
  return {QPoint((size.width() - drawn.width()) / 2,
                 isWhole ? (size.height() - drawn.height()) / 2 : 0),
          drawn};
}

/// Where all of the picture lies whose preview lies there: a preview leaves out what is below, or
/// at both sides.
QRectF wholePicture(const ScreenshotEntry& entry, const QRectF& preview) {
  const PixelSize whole = shownPictureSize(entry);
  if (whole.width <= 0 || whole.height <= 0) return preview;
  const PixelSize part = previewedPart(whole);
  const double width = preview.width() * whole.width / part.width;
  return {preview.x() - (width - preview.width()) / 2, preview.y(), width,
          preview.height() * whole.height / part.height};
}

QPixmap tileOf(const QImage& preview, QSize size, double radius) {
  QImage tile(size, QImage::Format_ARGB32_Premultiplied);
  tile.fill(Qt::transparent);
  QPainter painter(&tile);
  painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
  QPainterPath shape;
  shape.addRoundedRect(QRectF(QPointF(), size), radius, radius);
  painter.setClipPath(shape);
  painter.drawImage(placeInTile(preview.size(), size), preview);
  painter.end();
  return QPixmap::fromImage(std::move(tile));
}

}  // namespace

TilePictures::TilePictures(PreviewCache& previews) : previews_(previews), tiles_(mostKilobytes) {
  previews_.onPreview = [this](const EntryPointer& entry, const Image& preview) {
    come(entry, preview);
  };
}

TilePictures::~TilePictures() {
  previews_.onPreview = {};
  previews_.want({});
}

void TilePictures::setShape(QSize size, int radius, double ratio) {
  size_ = (QSizeF(size) * ratio).toSize().expandedTo(QSize(1, 1));
  radius_ = radius;
  ratio_ = ratio;
}

const TilePictures::Tile* TilePictures::find(const ScreenshotEntry& entry) const {
  const Tile* const tile = tiles_.object(keyOf(entry));
  return tile != nullptr && showsTheSame(*tile->entry, entry) ? tile : nullptr;
}

bool TilePictures::isRight(const EntryPointer& entry) const {
  const Tile* const tile = find(*entry);
  return tile != nullptr && (tile->pixmap.isNull() || tile->size == size_);
}

void TilePictures::forgetMissing() {
  for (const QString& key : tiles_.keys()) {
    if (tiles_.object(key)->pixmap.isNull()) tiles_.remove(key);
  }
}

void TilePictures::want(const EntryList& entries) {
  EntryList missing = entries;
  std::erase_if(missing, [this](const EntryPointer& entry) { return isRight(entry); });
  previews_.want(missing);
}

void TilePictures::come(const EntryPointer& entry, const Image& preview) {
  auto tile = std::make_unique<Tile>(Tile{entry, size_, QPixmap(), QRectF()});
  if (!preview.isEmpty()) {
    // What is painted with alpha takes the fourth byte for it, also where that has no meaning.
    const QImage picture =
        sharedImage(preview).convertToFormat(QImage::Format_ARGB32_Premultiplied);
    tile->pixmap = tileOf(picture, size_, radius_ * ratio_);
    tile->pixmap.setDevicePixelRatio(ratio_);
    const QRectF place = wholePicture(*entry, placeInTile(picture.size(), size_));
    tile->picture = {place.x() / size_.width(), place.y() / size_.height(),
                     place.width() / size_.width(), place.height() / size_.height()};
  }
  const int kilobytes = 1 + tile->pixmap.width() * tile->pixmap.height() / 256;
  tiles_.insert(keyOf(*entry), tile.release(), kilobytes);
  if (onCome) onCome(entry);
}

}  // namespace vantorel
