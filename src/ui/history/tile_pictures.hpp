#pragma once

#include <QCache>
#include <QPixmap>
#include <QRectF>
#include <QSize>
#include <QString>
#include <functional>

#include "library/preview_cache.hpp"

namespace vantorel {

/// The previews that the History window has at hand, in the size and shape it paints them, in a
/// bounded memory. Lives on the main thread.
class TilePictures {
 public:
  explicit TilePictures(PreviewCache& previews);
  ~TilePictures();
  TilePictures(const TilePictures&) = delete;
  TilePictures& operator=(const TilePictures&) = delete;

  struct Tile {
    EntryPointer entry;
    QSize size;      ///< of the whole tile, in device pixels
    QPixmap pixmap;  ///< null when the capture has no picture
    QRectF picture;  ///< where the whole picture lies, in sides of the tile; more than all of it
                     ///< where it is cut off
  };

  /// Told when one has come.
  std::function<void(const EntryPointer& entry)> onCome;

  /// In px, for a screen of `ratio` device pixels a px.
  void setShape(QSize size, int radius, double ratio);

  /// Null while it has not come. Of another size while the right one is on its way.
  [[nodiscard]] const Tile* find(const ScreenshotEntry& entry) const;

  /// Captures without a picture may have one by now: they are asked for anew.
  void forgetMissing();

  /// These are seen, and no others.
  void want(const EntryList& entries);

 private:
  [[nodiscard]] bool isRight(const EntryPointer& entry) const;
  void come(const EntryPointer& entry, const Image& preview);

  PreviewCache& previews_;
  QCache<QString, Tile> tiles_;
  QSize size_{1, 1};
  int radius_ = 0;
  double ratio_ = 1;
};

}  // namespace vantorel
