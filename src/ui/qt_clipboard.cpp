#include "ui/qt_clipboard.hpp"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>
#include <memory>
#include <utility>

namespace vantorel {
namespace {

Result<void> put(std::unique_ptr<QMimeData> content, const char* refusal) {
  QClipboard* const clipboard = QGuiApplication::clipboard();
  clipboard->setMimeData(content.release());
  if (!clipboard->ownsClipboard()) return failed(FailureKind::denied, refusal);
  return {};
}

}  // namespace

void QtClipboard::setImage(std::string png, std::move_only_function<void(Result<void>)> done) {
  auto content = std::make_unique<QMimeData>();
  // The encoded picture only: every further format would be encoded by the toolkit when asked for.
  content->setData(QStringLiteral("image/png"),
                   QByteArray(png.data(), static_cast<qsizetype>(png.size())));
  done(put(std::move(content), "the clipboard wouldn't take the image"));
}

void QtClipboard::setText(std::string text, std::move_only_function<void(Result<void>)> done) {
  auto content = std::make_unique<QMimeData>();
  content->setText(QString::fromStdString(text));
  done(put(std::move(content), "the clipboard wouldn't take the text"));
}

}  // namespace vantorel
