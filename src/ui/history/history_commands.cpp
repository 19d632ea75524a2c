#include "ui/history/history_commands.hpp"

#include <QCursor>
#include <QFileDialog>
#include <QKeyEvent>
#include <QMenu>
#include <QWidget>
#include <algorithm>
#include <utility>

#include "app/redaction_switch.hpp"
#include "library/entry_title.hpp"
#include "ui/history/tile_painting.hpp"
#include "ui/kit/picture_save_dialog.hpp"

namespace vantorel {
namespace {

bool hasPicture(const EntryList& entries) {
  return std::ranges::any_of(
      entries, [](const EntryPointer& entry) { return entry->medium == CaptureMedium::image; });
}

}  // namespace

HistoryCommands::HistoryCommands(std::shared_ptr<HistoryModel> model, QWidget* window)
    : QObject(window),
      model_(std::move(model)),
      window_(window),
      collectMenu_(std::make_unique<QMenu>()),
      convertMenu_(std::make_unique<QMenu>()) {
  const auto subjects = [this] { return model_->subjects(); };
  open = add(HistoryAction::annotate, QStringLiteral("Annotate"), IconName::annotate,
             Qt::Key_Return, [this] { openSubjects(); });
  // Fields and buttons have their own use for this key: whoever has it opens by it itself.
  open->setShortcutContext(Qt::WidgetShortcut);
  pin = add(HistoryAction::pin, QStringLiteral("Pin"), IconName::pin,
            Qt::CTRL | Qt::SHIFT | Qt::Key_P,
            [this, subjects] { model_->actions().pin(subjects()); });
  copyPicture =
      add(HistoryAction::copyPicture, QStringLiteral("Copy"), IconName::copy, Qt::CTRL | Qt::Key_C,
          [this, subjects] { model_->actions().copyPicture(subjects().front()); });
  copyPath = add(HistoryAction::copyPath, QStringLiteral("Copy Path"), IconName::folder,
                 Qt::CTRL | Qt::SHIFT | Qt::Key_C,
                 [this, subjects] { model_->actions().copyPaths(subjects()); });
  copyText = add(HistoryAction::copyText, QStringLiteral("Copy Text"), IconName::textClip, {},
                 [this, subjects] { model_->actions().copyText(subjects()); });
  saveAs = add(HistoryAction::saveAs, QStringLiteral("Save as…"), IconName::save,
               Qt::CTRL | Qt::SHIFT | Qt::Key_S, [this] { askWhereToSave(); });
  star = add(HistoryAction::star, QStringLiteral("Star"), IconName::star, Qt::CTRL | Qt::Key_D,
             [this] { model_->toggleStar(); });
  collect = add(HistoryAction::collect, QStringLiteral("Collect"), IconName::collectionAdd,
                Qt::CTRL | Qt::Key_L, [this] { popUp(*collectMenu_); });
  rename =
      add(HistoryAction::rename, QStringLiteral("Rename…"), IconName::rename, Qt::Key_F2, [this] {
        if (onRename) onRename();
      });
  convert = add(HistoryAction::convert, QStringLiteral("Convert"), IconName::convert, {},
                [this] { popUp(*convertMenu_); });
  compress = add(HistoryAction::compress, QStringLiteral("Compress"), IconName::compress, {},
                 [this, subjects] { model_->actions().compress(subjects()); });
  removeRedaction = add(HistoryAction::removeRedaction, redaction_words::remove, IconName::redact,
                        {}, [this, subjects] { model_->actions().removeRedaction(subjects()); });
  reapplyRedaction =
      add(HistoryAction::reapplyRedaction, redaction_words::reapply, IconName::redact, {},
          [this, subjects] { model_->actions().reapplyRedaction(subjects()); });
  reveal = add(HistoryAction::reveal, QStringLiteral("Show in File Manager"), IconName::reveal,
               Qt::CTRL | Qt::SHIFT | Qt::Key_R,
               [this, subjects] { model_->actions().reveal(subjects()); });
  trash = add(HistoryAction::trash, QStringLiteral("Move to Trash"), IconName::trash,
              Qt::Key_Delete, [this] { model_->trash(); });
  remove = add(HistoryAction::remove, QStringLiteral("Remove from History"), IconName::close,
               Qt::SHIFT | Qt::Key_Delete, [this] { model_->remove(); });
  connect(collectMenu_.get(), &QMenu::aboutToShow, this, [this] {
    collectMenu_->clear();
    fillCollections(*collectMenu_);
  });
  fillFormats(*convertMenu_);
  refresh();
}

QAction* HistoryCommands::add(HistoryAction what, const QString& label, IconName symbol,
                              const QKeySequence& key, std::function<void()> run) {
  auto* const action = new QAction(icon(symbol), label, this);
  action->setShortcut(key);
  const qsizetype row = rows_.size();
  connect(action, &QAction::triggered, this, [this, row, run = std::move(run)] {
    if (!model_->subjects().empty() && !model_->refuses(rows_[row].what)) run();
  });
  window_->addAction(action);
  rows_.append({what, action, label});
  return action;
}

void HistoryCommands::refresh() {
  star->setIcon(icon(model_->areStarred() ? IconName::starOn : IconName::star));
  const EntryList subjects = model_->subjects();
  const bool annotates = subjects.empty() || hasPicture(subjects);
  rows_.front() = {annotates ? HistoryAction::annotate : HistoryAction::open, open,
                   annotates ? QStringLiteral("Annotate") : QStringLiteral("Open")};
  open->setText(rows_.front().label);
  open->setIcon(icon(annotates ? IconName::annotate : IconName::image));
  for (const Row& row : rows_) {
    const auto obstacle = model_->obstacle(row.what);
    QString help = row.label;
    help.remove(QStringLiteral("…"));
    if (row.what == HistoryAction::star && model_->areStarred()) {
      help = QStringLiteral("Remove Star");
    }
    if (row.what == HistoryAction::star) row.action->setText(help);
    const QString key = row.action->shortcut().toString(QKeySequence::NativeText);
    if (!key.isEmpty()) help += " (" + key + ")";
    if (row.action == trash && subjects.size() > 1) {
      help += QStringLiteral("\nThe selected captures and their originals are moved to the Trash.");
    }
    const std::string remark = obstacle ? *obstacle : model_->leftOut(row.what);
    if (!remark.empty()) help += "\n" + QString::fromStdString(remark);
    row.action->setToolTip(help);
    row.action->setEnabled(!obstacle);
    // Few captures have anything of the kind.
    const bool isOfRedaction = row.action == removeRedaction || row.action == reapplyRedaction;
    if (isOfRedaction) row.action->setVisible(!obstacle);
  }
  // Only where it is the way out.
  remove->setVisible(std::ranges::any_of(
      subjects, [this](const EntryPointer& entry) { return model_->isOutOfReach(*entry); }));
}

/// Pictures in Annotate, several at once, and what is none in the program for such files.
void HistoryCommands::openSubjects() {
  const EntryList subjects = model_->subjects();
  if (hasPicture(subjects)) {
    model_->actions().annotate(subjects);
  } else {
    model_->actions().open(subjects.front());
  }
}

void HistoryCommands::openOrExplain() {
  if (open->isEnabled()) {
    open->trigger();
  } else if (!model_->subjects().empty()) {
    model_->refuses(rows_.front().what);
  }
}

bool HistoryCommands::explain(const QKeyEvent& press) {
  const QKeySequence key(press.keyCombination());
  for (const Row& row : rows_) {
    if (row.action->isEnabled() || row.action->shortcut() != key || row.action == open) continue;
    return !model_->subjects().empty() && model_->refuses(row.what);
  }
  return false;
}

void HistoryCommands::fill(QMenu& menu) {
  menu.addAction(open);
  menu.addAction(pin);
  menu.addAction(rename);
  menu.addAction(star);
  QMenu* const into = menu.addMenu(icon(IconName::collectionAdd), QStringLiteral("Collect"));
  into->setEnabled(collect->isEnabled());
  fillCollections(*into);
  menu.addSeparator();
  menu.addAction(copyPicture);
  menu.addAction(copyText);
  menu.addAction(copyPath);
  menu.addAction(saveAs);
  menu.addAction(reveal);
  menu.addSeparator();
  QMenu* const formats = menu.addMenu(icon(IconName::convert), QStringLiteral("Convert"));
  formats->setEnabled(convert->isEnabled());
  fillFormats(*formats);
  menu.addAction(compress);
  menu.addAction(removeRedaction);
  menu.addAction(reapplyRedaction);
  menu.addSeparator();
  menu.addAction(trash);
  menu.addAction(remove);
}

void HistoryCommands::askWhereToSave() {
  const EntryPointer entry = model_->subjects().front();
  QFileDialog* const dialog = makePictureSaveDialog(
      window_, QString::fromStdString(fileNameOf(*entry)),
      [this, entry](const Path& file) { model_->actions().saveAs(entry, file); });
  dialog->open();
}

void HistoryCommands::showCollections(const QPoint& at) { collectMenu_->popup(at); }

QMenu* HistoryCommands::menuOf(const QAction* action) const {
  if (action == collect) return collectMenu_.get();
  return action == convert ? convertMenu_.get() : nullptr;
}

void HistoryCommands::popUp(QMenu& menu) { menu.popup(menuPlace ? menuPlace() : QCursor::pos()); }

void HistoryCommands::fillCollections(QMenu& menu) {
  const std::vector<std::string> common = model_->commonCollections();
  for (const HistoryCollection& collection : model_->store().collections()) {
    const bool isMember = std::ranges::find(common, collection.id) != common.end();
    QAction* const action =
        menu.addAction(dotOf(collection.color), QString::fromStdString(collection.name), this,
                       [this, id = collection.id, isMember] {
                         model_->actions().collect(model_->subjects(), id, !isMember);
                       });
    action->setCheckable(true);
    action->setChecked(isMember);
  }
  if (!menu.isEmpty()) menu.addSeparator();
  menu.addAction(icon(IconName::plus), QStringLiteral("New Collection"), this, [this] {
    if (onNewCollection) onNewCollection();
  });
}

void HistoryCommands::fillFormats(QMenu& menu) {
  for (const auto& named : enumNames<ExportFormat>) {
    const ExportFormat format = named.value;
    const std::string_view label = displayName(format);
    menu.addAction(QString::fromUtf8(label.data(), static_cast<qsizetype>(label.size())), this,
                   [this, format] { model_->actions().convert(model_->subjects(), format); });
  }
}

}  // namespace vantorel
