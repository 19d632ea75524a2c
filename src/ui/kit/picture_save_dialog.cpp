#include "ui/kit/picture_save_dialog.hpp"

#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QHeaderView>
#include <QStandardPaths>
#include <QTreeView>
#include <utility>

#include "capture/records/export_format.hpp"

namespace vantorel {
namespace {

QString asText(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

/// "PNG (*.png)".
QString filterOf(ExportFormat format) {
  return QStringLiteral("%1 (*.%2)")
      .arg(asText(displayName(format)), asText(fileExtension(format)));
}

QString& lastFolder() {
  static QString folder;
  return folder;
}

}  // namespace

QFileDialog* makePictureSaveDialog(QWidget* parent, const QString& fileName,
                                   std::function<void(const Path& file)> chosen) {
  auto* const dialog = new QFileDialog(parent, QStringLiteral("Save as"));
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  dialog->setAcceptMode(QFileDialog::AcceptSave);
  dialog->setFileMode(QFileDialog::AnyFile);
  QStringList filters;
  for (const auto& [format, name] : enumNames<ExportFormat>) filters += filterOf(format);
  dialog->setNameFilters(filters);
  for (const QString& folder :
       {lastFolder(), QStandardPaths::writableLocation(QStandardPaths::PicturesLocation),
        QStandardPaths::writableLocation(QStandardPaths::HomeLocation)}) {
    if (folder.isEmpty() || !QFileInfo(folder).isDir()) continue;
    dialog->setDirectory(folder);
    break;
  }
  const ExportFormat own = formatOfFileName(fileName.toStdString()).value_or(ExportFormat::png);
  dialog->selectNameFilter(filterOf(own));
  dialog->setDefaultSuffix(asText(fileExtension(own)));
  dialog->selectFile(fileName);
  // Where the desktop has no dialog of its own, the toolkit's columns are narrower than what they
  // hold.
  if (auto* const list = dialog->findChild<QTreeView*>()) {
    QHeaderView* const header = list->header();
    header->setStretchLastSection(false);
    header->setSectionResizeMode(QHeaderView::ResizeToContents);
    header->setSectionResizeMode(0, QHeaderView::Stretch);
  }
  // The name follows the format.
  QObject::connect(dialog, &QFileDialog::filterSelected, dialog, [dialog](const QString& filter) {
    for (const auto& [format, name] : enumNames<ExportFormat>) {
      if (filterOf(format) != filter) continue;
      dialog->setDefaultSuffix(asText(fileExtension(format)));
      const QString file = QFileInfo(dialog->selectedFiles().value(0)).fileName();
      const auto before = formatOfFileName(file.toStdString());
      if (!before || *before == format) return;
      dialog->selectFile(file.left(file.lastIndexOf('.') + 1) + asText(fileExtension(format)));
    }
  });
  QObject::connect(dialog, &QFileDialog::fileSelected, dialog,
                   [chosen = std::move(chosen)](const QString& file) {
                     lastFolder() = QFileInfo(file).absolutePath();
                     chosen(Path(QFile::encodeName(file).toStdString()));
                   });
  return dialog;
}

}  // namespace vantorel
