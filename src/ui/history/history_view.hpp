#pragma once

#include <QAbstractScrollArea>
#include <QBasicTimer>
#include <functional>
#include <memory>
#include <optional>

#include "app/history_model.hpp"
#include "ui/history/history_layout.hpp"
#include "ui/history/tile_painting.hpp"
#include "ui/history/tile_pictures.hpp"

namespace vantorel {

/// The captures of the History window, as tiles or as a list. Only what is seen exists. Lives on
/// the main thread.
class HistoryView : public QAbstractScrollArea {
 public:
  enum class Mode { grid, list };

  static constexpr int narrowWidth = 720;  ///< px, of the view: smaller margins below it
  static constexpr int headerHeight = 44;  ///< px, at least
  static constexpr int captionGap = 8;

  explicit HistoryView(std::shared_ptr<HistoryModel> model, QWidget* parent = nullptr);
  ~HistoryView() override;

  void setMode(Mode mode);
  [[nodiscard]] Mode mode() const { return mode_; }

  /// One of three sizes of tiles larger or smaller.
  void stepTileSize(int steps);

  /// Takes up what the model has changed.
  void modelChanged(const HistoryModelChange& change);

  void scrollTo(std::size_t place);

  /// Where the menu of what is selected opens without the pointer, on the screen.
  [[nodiscard]] QPoint menuPlace();

  /// Writes the title in place.
  void rename(std::size_t place);

  // What the window does.

  std::function<void()> onOpen;     ///< Return, a double click
  std::function<void()> onPreview;  ///< Space
  std::function<void(const QPoint& global)> onMenu;
  std::function<void(const QString& text)> onTyped;  ///< a letter begins a search

  // For screen readers.

  [[nodiscard]] const HistoryModel& model() const { return *model_; }
  [[nodiscard]] QRect areaOf(std::size_t place) const;  ///< in the viewport
  [[nodiscard]] std::optional<std::size_t> placeAt(const QPoint& inViewport) const;
  void choose(std::size_t place);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void changeEvent(QEvent* event) override;
  void scrollContentsBy(int dx, int dy) override;
  void keyPressEvent(QKeyEvent* event) override;
  void focusInEvent(QFocusEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void contextMenuEvent(QContextMenuEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void timerEvent(QTimerEvent* event) override;
  bool viewportEvent(QEvent* event) override;

 private:
  void arrange();
  void wantPreviewsSoon();
  void wantPreviews();
  void updatePicture(std::size_t place);
  void tellFocus();
  [[nodiscard]] std::size_t navigationRows() const;
  [[nodiscard]] QPoint contentPoint(const QPoint& inViewport) const;
  [[nodiscard]] bool isOnColumns(const QPoint& inViewport) const;
  [[nodiscard]] ListColumns columns() const;

  /// What the column of the list is sorted by whose name is there.
  [[nodiscard]] std::optional<HistorySort::By> sortAt(const QPoint& inViewport) const;

  void paintStrip(QPainter& painter, const QRect& strip) const;
  void paintCaptures(QPainter& painter, const QRect& dirty) const;
  [[nodiscard]] QRect stickyHeader() const;
  void paintHeader(QPainter& painter, std::size_t section, const QRect& area) const;
  void paintColumns(QPainter& painter) const;
  void paintTile(QPainter& painter, std::size_t place, const QRect& dirty) const;
  void paintRow(QPainter& painter, std::size_t place) const;
  [[nodiscard]] bool isUnreadable(const ScreenshotEntry& entry) const;
  void paintPicture(QPainter& painter, std::size_t place, const QRect& area, bool isSmall) const;
  [[nodiscard]] int columnsHeight() const;
  [[nodiscard]] static int listRowHeight();

  void step(HistorySelection::Step step, Qt::KeyboardModifiers modifiers);
  void moveBand();
  void readForDrag(const EntryPointer& entry);
  void startDrag();

  std::shared_ptr<HistoryModel> model_;
  TilePictures pictures_;
  HistoryLayout layout_;
  Mode mode_ = Mode::grid;
  int tileStep_ = 1;
  bool isFocusShown_ = false;  // the keyboard moves it
  std::optional<QPoint> pressed_;
  std::optional<std::size_t> pressedPlace_;
  std::optional<HistorySort::By> pressedSort_;
  bool isBand_ = false;
  QPoint bandFrom_;  // in the content
  QRect band_;       // in the content
  QWidget* editor_ = nullptr;
  bool isPainted_ = false;
  QBasicTimer previewTimer_;
  QBasicTimer scrollTimer_;
  std::optional<QPoint> dragScroll_;
  EntryPointer dragged_;  // whose picture was read for a drag
  std::string draggedPNG_;
  std::shared_ptr<char> alive_ = std::make_shared<char>();
};

}  // namespace vantorel
