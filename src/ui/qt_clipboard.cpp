#include "ui/qt_clipboard.hpp"

#include <xcb/xcb.h>

#include <QAbstractNativeEventFilter>
#include <QClipboard>
#include <QDeadlineTimer>
#include <QGuiApplication>
#include <QMimeData>
#include <QTimer>
#include <memory>
#include <utility>

#include "base/log.hpp"
#include "ui/native_display.hpp"

namespace vantorel {
namespace {

constexpr int handOverBoundMilliseconds = 2000;

/// Sees the manager's answer to the request made in the name of `window`.
class AnswerFilter : public QAbstractNativeEventFilter {
 public:
  explicit AnswerFilter(xcb_window_t window) : window_(window) {
    qGuiApp->installNativeEventFilter(this);
  }

  [[nodiscard]] bool isAnswered() const { return isAnswered_; }

  bool nativeEventFilter(const QByteArray&, void* message, qintptr*) override {
    const auto* const event = static_cast<xcb_generic_event_t*>(message);
    if ((event->response_type & 0x7f) == XCB_SELECTION_NOTIFY &&
        reinterpret_cast<const xcb_selection_notify_event_t*>(event)->requestor == window_) {
      isAnswered_ = true;
    }
    return false;
  }

 private:
  xcb_window_t window_;
  bool isAnswered_ = false;
};

std::unique_ptr<QMimeData> contentOf(const QString& type, const std::string& bytes) {
  auto content = std::make_unique<QMimeData>();
  content->setData(type, QByteArray(bytes.data(), static_cast<qsizetype>(bytes.size())));
  return content;
}

QString shapesType() { return QString::fromUtf8(shapesClipboardType); }

Result<void> put(std::unique_ptr<QMimeData> content, const char* refusal) {
  QClipboard* const clipboard = QGuiApplication::clipboard();
  clipboard->setMimeData(content.release());
  if (!clipboard->ownsClipboard()) return failed(FailureKind::denied, refusal);
  return {};
}

}  // namespace

void QtClipboard::setImage(std::string png, std::move_only_function<void(Result<void>)> done) {
  // The encoded picture only: every further format would be encoded by the toolkit when asked for.
  done(put(contentOf(QStringLiteral("image/png"), png), "the clipboard wouldn't take the image"));
}

void QtClipboard::setText(std::string text, std::move_only_function<void(Result<void>)> done) {
  auto content = std::make_unique<QMimeData>();
  content->setText(QString::fromStdString(text));
  done(put(std::move(content), "the clipboard wouldn't take the text"));
}

void QtClipboard::setShapes(std::string json, std::move_only_function<void(Result<void>)> done) {
  done(put(contentOf(shapesType(), json), "the clipboard wouldn't take the annotations"));
}

void QtClipboard::whenLost(std::function<void()> lost) {
  QClipboard* const clipboard = QGuiApplication::clipboard();
  QObject::connect(clipboard, &QClipboard::dataChanged, clipboard,
                   [clipboard, lost = std::move(lost)] {
                     if (!clipboard->ownsClipboard()) lost();
                   });
}

std::string QtClipboard::shapes() const {
  const QClipboard* const clipboard = QGuiApplication::clipboard();
  // Another program's content would have to be waited for.
  if (!clipboard->ownsClipboard()) return {};
  return clipboard->mimeData()->data(shapesType()).toStdString();
}

void QtClipboard::handOver() {
  xcb_connection_t* const connection = native_display::connection();
  if (connection == nullptr || !QGuiApplication::clipboard()->ownsClipboard() ||
      !native_display::isOwned("CLIPBOARD_MANAGER")) {
    return;
  }
  const auto window = static_cast<xcb_window_t>(xcb_generate_id(connection));
  xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, native_display::root(), 0, 0, 1, 1, 0,
                    XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
  xcb_convert_selection(connection, window, native_display::atom("CLIPBOARD_MANAGER"),
                        native_display::atom("SAVE_TARGETS"),
                        native_display::atom("VANTOREL_SAVE_TARGETS"), XCB_CURRENT_TIME);
  xcb_flush(connection);
  // Meanwhile the manager asks for the content, and the toolkit answers it from these events.
  const AnswerFilter filter(window);
  const QDeadlineTimer deadline(handOverBoundMilliseconds);
  QTimer wake;  // an event loop without events would wait beyond the deadline
  wake.start(50);
  while (!filter.isAnswered() && !deadline.hasExpired()) {
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents |
                                    QEventLoop::WaitForMoreEvents);
  }
  if (!filter.isAnswered())
    logWarning("Clipboard", "the clipboard manager did not take the content");
  xcb_destroy_window(connection, window);
}

}  // namespace vantorel
