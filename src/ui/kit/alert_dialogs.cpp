#include "ui/kit/alert_dialogs.hpp"

#include <QApplication>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QWindow>
#include <algorithm>
#include <utility>

#include "base/check.hpp"
#include "base/log.hpp"
#include "ui/kit/desktop_palette.hpp"
#include "ui/kit/icons.hpp"
#include "ui/kit/tokens.hpp"
#include "ui/kit/vantorel_style.hpp"

namespace vantorel {
namespace {

/// Without the letters that "&" would make shortcuts.
QString plain(const std::string& text) {
  return QString::fromStdString(text).replace(u'&', QStringLiteral("&&"));
}

/// Nothing is shown yet.
template <class Box>
Box boxFor(const Alert& alert, const std::function<void(std::size_t)>& answered) {
  Box box(new QMessageBox);
  box->setWindowTitle(QStringLiteral("Vantorel"));
  // The toolkit activates every modal window it shows, whatever the attribute below says.
  box->setWindowModality(alert.takesFocus ? Qt::ApplicationModal : Qt::NonModal);
  // No window of ours is active when it comes, so the desktop would put it behind the others.
  box->setWindowFlag(Qt::WindowStaysOnTopHint);
  box->setTextFormat(Qt::PlainText);
  const bool isWarning = alert.style == Alert::Style::warning;
  box->setIcon(isWarning ? QMessageBox::Warning : QMessageBox::Information);
  box->setIconPixmap(icon(isWarning ? IconName::warning : IconName::info,
                          isWarning ? IconTint::warning : IconTint::quiet)
                         .pixmap(emptyIconSize, emptyIconSize));
  box->setText(QString::fromStdString(alert.message));
  if (auto* const question = box->template findChild<QLabel*>(QStringLiteral("qt_msgbox_label"))) {
    question->setFont(tokens::strongFont());
  }
  box->setInformativeText(QString::fromStdString(alert.informative));
  const std::size_t cancel = alert.cancelButton();
  std::vector<QAbstractButton*> buttons;
  for (std::size_t i = 0; i < alert.buttons.size(); ++i) {
    const AlertButton& button = alert.buttons[i];
    QPushButton* const pushed =
        box->addButton(plain(button.label), i == cancel        ? QMessageBox::RejectRole
                                            : button.isDefault ? QMessageBox::AcceptRole
                                                               : QMessageBox::DestructiveRole);
    pushed->setAutoDefault(true);  // Return presses the one with the focus
    if (button.isDefault) box->setDefaultButton(pushed);
    if (i == cancel) box->setEscapeButton(pushed);
    buttons.push_back(pushed);
  }
  QMessageBox* const shown = box.get();
  QObject::connect(shown, &QMessageBox::finished, shown, [shown, buttons, cancel, answered] {
    const auto pressed = std::ranges::find(buttons, shown->clickedButton());
    answered(pressed == buttons.end() ? cancel
                                      : static_cast<std::size_t>(pressed - buttons.begin()));
  });
  box->setAttribute(Qt::WA_ShowWithoutActivating, !alert.takesFocus);
  return box;
}

/// What nobody asked for lies over nothing that somebody is about to answer.
void showAside(QMessageBox& box) {
  const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
  const QSize size = box.sizeHint();
  box.move(screen.right() - size.width() - tokens::space24,
           screen.bottom() - size.height() - tokens::space48);
  box.show();
  box.raise();
}

}  // namespace

/// Sees dialogs come and go, whoever shows them.
class AlertDialogs::Watch final : public QObject {
 public:
  explicit Watch(AlertDialogs& dialogs) : dialogs_(dialogs) { qApp->installEventFilter(this); }

  bool eventFilter(QObject* object, QEvent* event) override {
    const bool comesOrGoes = event->type() == QEvent::Show || event->type() == QEvent::Hide;
    if (!comesOrGoes || !object->isWidgetType()) return false;
    const auto& window = *static_cast<QWidget*>(object);
    if (window.isWindow() && window.windowModality() != Qt::NonModal) {
      QMetaObject::invokeMethod(this, [this] { dialogs_.showTold(); }, Qt::QueuedConnection);
    }
    return false;
  }

 private:
  AlertDialogs& dialogs_;
};

void AlertDialogs::DeleteLater::operator()(QMessageBox* box) const {
  box->hide();
  box->deleteLater();  // it may be its own button that ends it
}

AlertDialogs::AlertDialogs() = default;

AlertDialogs::~AlertDialogs() = default;

AlertID AlertDialogs::ask(Alert alert, std::function<void(std::size_t)> answered) {
  VT_CHECK(!alert.buttons.empty());
  DesktopPalette::follow();
  useVantorelStyle();
  waiting_.push_back({++last_, std::move(alert), std::move(answered)});
  if (waiting_.size() == 1) showFirst();
  return last_;
}

void AlertDialogs::showFirst() {
  const Alert& alert = waiting_.front().alert;
  box_ = boxFor<Box>(alert, [this](std::size_t button) { answered(button); });
  if (!alert.takesFocus) return showAside(*box_);
  if (const QWidget* const asking = QApplication::activeWindow()) {
    // Over the window whose doing it asks about.
    box_->winId();
    box_->windowHandle()->setTransientParent(asking->windowHandle());
    const QSize size = box_->sizeHint();
    box_->move(asking->geometry().center() - QPoint(size.width() / 2, size.height() / 2));
  }
  box_->show();
  bringForward();
}

void AlertDialogs::bringForward() {
  if (box_ == nullptr) return;
  box_->raise();
  box_->activateWindow();
}

void AlertDialogs::answered(std::size_t button) {
  if (box_ == nullptr) return;
  const auto done = std::move(waiting_.front().answered);
  dismiss(waiting_.front().id);
  done(button);
}

void AlertDialogs::dismiss(AlertID question) {
  const auto found = std::ranges::find(waiting_, question, &Waiting::id);
  if (found == waiting_.end()) return;
  const bool isShown = found == waiting_.begin();
  waiting_.erase(found);
  if (!isShown) return;
  box_->disconnect();
  box_.reset();
  if (!waiting_.empty()) showFirst();
}

void AlertDialogs::notify(std::string title, std::string body) {
  logInfo("Alerts", "{}: {}", title, body);
}

void AlertDialogs::tell(std::string title, std::string body, std::function<void()> shown) {
  DesktopPalette::follow();
  useVantorelStyle();
  withdraw(title);
  told_[title] = boxFor<Box>({.style = Alert::Style::warning,
                              .message = std::move(body),
                              .buttons = {{"OK", true, true}},
                              .takesFocus = false},
                             [this, title](std::size_t) { withdraw(title); });
  if (!watch_) watch_ = std::make_unique<Watch>(*this);
  showTold();
  shown();
}

/// None while something of this program asks, whose question it could hide.
void AlertDialogs::showTold() {
  const bool isAsking = QApplication::activeModalWidget() != nullptr;
  for (const auto& [title, box] : told_) {
    if (isAsking) box->hide();
    if (!isAsking && !box->isVisible()) showAside(*box);
  }
}

void AlertDialogs::withdraw(std::string title) {
  told_.erase(title);
  if (told_.empty()) watch_.reset();
}

}  // namespace vantorel
