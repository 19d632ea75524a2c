#include "ui/kit/picture_save_dialog.hpp"

#include <QFile>
#include <QFileDialog>
#include <QFileIconProvider>
#include <QFileInfo>
#include <QHeaderView>
#include <QLineEdit>
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

/// Kinds of files by their names: the toolkit would read the beginning of each file in the folder,
/// on the main thread, and of some a read never ends.
class KindsByName : public QFileIconProvider {
 public:
  [[nodiscard]] QIcon icon(const QFileInfo& file) const override {
    return QFileIconProvider::icon(file.isDir() ? Folder : File);
  }
  [[nodiscard]] QString type(const QFileInfo& file) const override {
    if (file.isDir()) return QStringLiteral("Folder");
    return file.suffix().isEmpty() ? QStringLiteral("File")
                                   : QStringLiteral("%1 File").arg(file.suffix().toUpper());
  }
};

/// The toolkit's dialog asks whether the file of the typed name may be replaced, so the name has to
/// have the ending that will be written.
class PictureSaveDialog : public QFileDialog {
 public:
  explicit PictureSaveDialog(QWidget* parent) : QFileDialog(parent, QStringLiteral("Save as")) {
    setOption(DontUseCustomDirectoryIcons);
    setIconProvider(&kinds_);
  }

 protected:
  void accept() override {
    auto* const name = findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
    if (name != nullptr && !name->text().isEmpty() && !name->text().endsWith('/') &&
        !formatOfFileName(name->text().toStdString()) &&
        !QFileInfo(directory(), name->text()).isDir()) {
      name->setText(name->text() + '.' + defaultSuffix());
    }
    QFileDialog::accept();
  }

 private:
  KindsByName kinds_;
};

}  // namespace

QFileDialog* makePictureSaveDialog(QWidget* parent, const QString& fileName,
                                   std::function<void(const Path& file)> chosen) {
  auto* const dialog = new PictureSaveDialog(parent);
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
