#pragma once

#include <QIcon>
#include <QPixmap>
#include <QRect>
#include <QRectF>
#include <QString>
#include <optional>
#include <string>
#include <vector>

#include "app/history_model.hpp"

class QPainter;

namespace vantorel {

struct PaletteRoles;

/// How one capture is shown in the History window.
struct PaintedCapture {
  const ScreenshotEntry& entry;
  QPixmap pixmap;  ///< null while there is none
  FileReach reach = FileReach::there;
  bool isUnreadable = false;   ///< its file is there and makes no picture
  bool isSmall = false;        ///< of a list: without badges
  std::vector<QRectF> hits{};  ///< what a search has found, within the area or not
};
void paintCapture(QPainter& painter, const QRect& area, const PaintedCapture& capture,
                  const PaletteRoles& roles);

/// The mark of what has a star.
void paintStar(QPainter& painter, const QPoint& center);

/// The mark of what is selected.
void paintCheck(QPainter& painter, const QPoint& center, const PaletteRoles& roles);

void paintDayHeader(QPainter& painter, const QRect& area, const QString& title,
                    const QString& detail, const PaletteRoles& roles,
                    Qt::LayoutDirection direction);

/// A title may have lines and tabs; where it is shown it has one line.
[[nodiscard]] QString lineOf(const std::string& title);

/// The columns of the list that fit a width: they leave from the right. Mirrored where lines run
/// from right to left.
class ListColumns {
 public:
  enum class What { title, application, taken, size, kind, collections };
  struct Column {
    What what = What::title;
    int left = 0;
    int width = 0;
  };

  ListColumns(int width, Qt::LayoutDirection direction);

  [[nodiscard]] int picture() const { return picture_; }  ///< its left side
  [[nodiscard]] const std::vector<Column>& all() const { return columns_; }

 private:
  int picture_ = 0;
  std::vector<Column> columns_;
};

[[nodiscard]] QString nameOf(ListColumns::What column);

/// What the list is sorted by at that column; nothing where it cannot be.
[[nodiscard]] std::optional<HistorySort::By> sortOf(ListColumns::What column);

/// "Title", as the column is called.
[[nodiscard]] QString labelOf(HistorySort::By by);
[[nodiscard]] QString listText(ListColumns::What column, const ScreenshotEntry& entry,
                               const HistoryModel& model, std::size_t place);

/// "Picture", "Recording"…
[[nodiscard]] QString kindOf(const ScreenshotEntry& entry);

/// A length of time, "0:42".
[[nodiscard]] QString durationText(double seconds);

/// "Out of reach" or "File gone".
[[nodiscard]] QString reachText(FileReach reach);

/// The name of the disk whose absence it is; empty where that is not what is in the way.
[[nodiscard]] QString diskText(const ScreenshotEntry& entry, FileReach reach);

/// Title, time and file of a capture, and what is in the way of the file.
[[nodiscard]] std::string toolTipOf(const ScreenshotEntry& entry, FileReach reach,
                                    bool isUnreadable);

[[nodiscard]] QColor colorOf(CollectionColor color);

/// The mark of a collection, in menus and on buttons.
[[nodiscard]] QIcon dotOf(CollectionColor color);

}  // namespace vantorel
