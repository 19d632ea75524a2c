#pragma once

#include <QMargins>
#include <QSize>
#include <QString>
#include <QTimer>
#include <QWidget>
#include <functional>
#include <memory>
#include <string>

#include "app/surface_registry.hpp"
#include "app/window_places.hpp"

class QMenu;
class QVBoxLayout;

namespace vantorel {

class MessageBand;

/// What a window's keys do beyond the window itself. Those that are not set do nothing.
struct WindowActions {
  std::function<void()> quit;          ///< Ctrl+Q
  std::function<void()> showHelp;      ///< F1
  std::function<void()> showSettings;  ///< Ctrl+,
};

/// What every window of the program stands in: keys, a band for messages above the content, its
/// size and place as it was with these displays. When they change while it is open, it goes to the
/// place it has with those that are there then; what the window manager did to it meanwhile is not
/// remembered. The window that derives from it puts what it shows into `setContent`. Closing it
/// hides it and calls `onClosed` once, in its own event: whoever has it lets go of it after that.
/// Lives on the main thread.
class WindowFrame : public QWidget, public Surface {
 public:
  struct Measures {
    QSize usual;
    QSize least;
    /// `least` holds words of the usual size: it grows for larger ones.
    bool growsWithFont = false;
    /// What it shows decides how large it opens: of its place before, only where it was counts,
    /// and whether it was maximized.
    bool sizesItself = false;
  };

  /// `name` is what the place is remembered by; `title` stands in the title bar.
  WindowFrame(std::string name, const QString& title, Measures measures,
              std::function<void()> onClosed);
  ~WindowFrame() override;

  void setActions(WindowActions actions) { actions_ = std::move(actions); }

  /// Before the window is shown for the first time. Without them it opens in its usual size.
  void setPlaces(std::shared_ptr<WindowPlaces> places) { places_ = std::move(places); }

  /// Shows it, or brings it to the front with the focus.
  void bringForward() override;

  /// A sentence above the content, with one action or none. It stays until it is put away, by the
  /// user or by `hideMessage`; another one takes its place.
  void showMessage(const QString& sentence, const QString& actionLabel = {},
                   std::function<void()> action = {});
  void hideMessage();

 protected:
  /// Takes what the window shows; below the messages, to the edges.
  void setContent(QWidget* content);

  /// What every window leads to, with its keys, at the end of a menu of its own.
  void addActionsTo(QMenu& menu);

  /// Esc that nothing inside has used. Does nothing here: windows are closed by Ctrl+W.
  virtual void leave() {}

  /// Whether the window may close now. One that must ask first answers no and closes itself later.
  [[nodiscard]] virtual bool mayClose() { return true; }

  void showEvent(QShowEvent* event) override;
  void closeEvent(QCloseEvent* event) override;
  void moveEvent(QMoveEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void changeEvent(QEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

 private:
  void place();
  [[nodiscard]] QSize openingSize() const;
  [[nodiscard]] QPoint besideOthers(QPoint at) const;
  void fitLeastSize();
  void followDisplays();
  /// What has to be right once nobody else moves the window any more.
  void settle();
  void putBack(const WindowPlace& place);
  /// A window whose display went comes to one that is left, and its title bar is in reach.
  void keepOnScreen();
  void remember();
  void showContextMenu();
  [[nodiscard]] QMargins border() const;
  void addKey(const QKeySequence& key, std::function<void()> WindowActions::* action);

  std::string name_;
  QSize plainLeast_;  // for words of the usual size
  Measures measures_;
  std::function<void()> onClosed_;
  WindowActions actions_;
  std::shared_ptr<WindowPlaces> places_;
  QVBoxLayout* layout_;
  MessageBand* message_;
  bool isPlaced_ = false;
  std::string displays_;  // those that its place belongs to
  QTimer settling_;       // while it runs, it is not the user who moves the window
};

/// What names the set of displays that is there now.
[[nodiscard]] std::string displaysKey();

/// `wanted` moved and made smaller so that all of it is on the display it is most on, or on the
/// first; never smaller than `least`, unless the display is.
[[nodiscard]] QRect keptOnScreen(const QRect& wanted, const QSize& least,
                                 const QList<QRect>& workAreas);

}  // namespace vantorel
