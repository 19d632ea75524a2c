#include "ui/alert_dialogs.hpp"

#include <QMessageBox>
#include <QPushButton>
#include <utility>

#include "base/check.hpp"
#include "base/log.hpp"

namespace vantorel {
namespace {

/// Without the letters that "&" would make shortcuts.
QString plain(const std::string& text) {
  return QString::fromStdString(text).replace(u'&', QStringLiteral("&&"));
}

}  // namespace

void AlertDialogs::DeleteLater::operator()(QMessageBox* box) const {
  box->hide();
  box->deleteLater();  // it may be its own button that ends it
}

AlertDialogs::AlertDialogs() = default;

AlertDialogs::~AlertDialogs() = default;

void AlertDialogs::ask(Alert alert, std::function<void(std::size_t)> answered) {
  VT_CHECK(!alert.buttons.empty());
  waiting_.push_back({std::move(alert), std::move(answered)});
  if (waiting_.size() == 1) showFirst();
}

void AlertDialogs::showFirst() {
  const Alert& alert = waiting_.front().alert;
  box_.reset(new QMessageBox);
  box_->setWindowTitle(QStringLiteral("Vantorel"));
  box_->setWindowModality(Qt::ApplicationModal);
  // No window of ours is active when it comes, so the desktop would put it behind the others.
  box_->setWindowFlag(Qt::WindowStaysOnTopHint);
  box_->setTextFormat(Qt::PlainText);
  box_->setIcon(alert.style == Alert::Style::warning ? QMessageBox::Warning
                                                     : QMessageBox::Information);
  box_->setText(QString::fromStdString(alert.message));
  box_->setInformativeText(QString::fromStdString(alert.informative));
  for (std::size_t i = 0; i < alert.buttons.size(); ++i) {
    const AlertButton& button = alert.buttons[i];
    // A single button or one that rejects would answer to Escape; "destructive" never does.
    QPushButton* const pushed =
        box_->addButton(plain(button.label), button.isDefault || alert.buttons.size() == 1
                                                 ? QMessageBox::AcceptRole
                                                 : QMessageBox::DestructiveRole);
    pushed->setAutoDefault(false);  // else Return would press whichever has the focus
    if (button.isDefault) box_->setDefaultButton(pushed);
    QObject::connect(pushed, &QPushButton::clicked, box_.get(), [this, i] { answered(i); });
  }
  if (alert.buttons.size() == 1) {
    QObject::connect(box_.get(), &QMessageBox::rejected, box_.get(), [this] { answered(0); });
  }
  box_->show();
  box_->raise();
  box_->activateWindow();
}

void AlertDialogs::answered(std::size_t button) {
  if (box_ == nullptr) return;
  const auto done = std::move(waiting_.front().answered);
  dismiss();
  done(button);
}

void AlertDialogs::dismiss() {
  if (waiting_.empty()) return;
  box_->disconnect();
  box_.reset();
  waiting_.pop_front();
  if (!waiting_.empty()) showFirst();
}

void AlertDialogs::notify(std::string title, std::string body) {
  logInfo("Alerts", "{}: {}", title, body);
}

}  // namespace vantorel
