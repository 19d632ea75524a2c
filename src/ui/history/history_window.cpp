#include "ui/history/history_window.hpp"

#include <QAction>
#include <QApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QShortcut>
#include <QStyle>
#include <algorithm>
#include <cmath>
#include <utility>

#include "library/entry_filter.hpp"
#include "ui/history/history_bar.hpp"
#include "ui/history/history_blank.hpp"
#include "ui/history/history_commands.hpp"
#include "ui/history/history_footer.hpp"
#include "ui/history/history_preview.hpp"
#include "ui/history/history_search_field.hpp"
#include "ui/history/history_sidebar.hpp"
#include "ui/history/history_view.hpp"
#include "ui/history/notice_bar.hpp"
#include "ui/history/tile_painting.hpp"
#include "ui/history/undo_bar.hpp"
#include "ui/kit/icons.hpp"
#include "ui/kit/panes.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr int barHeight = 52;
constexpr int drawerBelow = 820;
constexpr int undoGap = tokens::space16;

}  // namespace

HistoryWindow::HistoryWindow(std::shared_ptr<HistoryModel> model, std::function<void()> onClosed)
    : WindowFrame("history", QStringLiteral("History"), {{1120, 760}, {560, 400}},
                  std::move(onClosed)),
      model_(std::move(model)),
      commands_(new HistoryCommands(model_, this)),
      content_(new QWidget),
      sidebar_(new HistorySidebar(model_, content_)),
      bar_(new HistoryBar(model_, content_)),
      search_(&bar_->search()),
      view_(new HistoryView(model_, content_)),
      blank_(new HistoryBlankPage(model_, content_)),
      footer_(new HistoryFooter(model_, *commands_, content_)),
      preview_(new HistoryPreview(model_, *commands_, content_)),
      undo_(new UndoBar(model_, content_)),
      said_(new NoticeBar(content_)) {
  content_->installEventFilter(this);
  search_->installEventFilter(this);
  setContent(content_);
  sidebar_->onChosen = [this] {
    if (isNarrow()) view_->setFocus(Qt::OtherFocusReason);
    setDrawer(false);
  };
  bar_->onSidebar = [this] { toggleSidebar(); };
  bar_->onMode = [this](int mode) { setMode(mode); };
  bar_->onMore = [this](const QPoint& at) { showMore(at); };
  view_->onOpen = [this] { commands_->openOrExplain(); };
  view_->onPreview = [this] { preview_->open(); };
  view_->onTyped = [this](const QString& text) {
    search_->setFocus();
    search_->setText(text);
  };
  view_->onMenu = [this](const QPoint& at) {
    auto* const menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->setToolTipsVisible(true);
    commands_->fill(*menu);
    menu->popup(at);
  };
  preview_->onOpen = [this] { commands_->openOrExplain(); };
  preview_->onMenu = view_->onMenu;
  preview_->onClosed = [this] {
    view_->setFocus();
    if (const auto focus = model_->selection().focus()) view_->scrollTo(*focus);
  };
  commands_->onRename = [this] { rename(); };
  commands_->menuPlace = [this] {
    return preview_->isVisible() ? preview_->mapToGlobal(preview_->rect().center())
                                 : view_->menuPlace();
  };
  commands_->onNewCollection = [this] {
    const EntryList entries = model_->subjects();
    if (preview_->isVisible()) preview_->hide();
    const auto id = model_->createCollection("New collection");
    if (!id) return;
    model_->actions().collect(entries, *id, true);
    isSidebarWanted_ = true;
    sidebar_->refresh();
    setDrawer(isNarrow());
    // From the captures, and back to them.
    sidebar_->rename(*id, [this] {
      setDrawer(false);
      view_->setFocus(Qt::OtherFocusReason);
    });
  };
  blank_->onClear = [this] { model_->clearSearch(); };
  blank_->onSearchEverything = [this] { model_->searchEverything(); };
  said_->onHidden = [this] { model_->dismissNotice(); };
  addKeys();
  observation_ =
      model_->observe([this](const HistoryModelChange& change) { modelChanged(change); });
  modelChanged({.listing = true, .sidebar = true, .status = true, .undo = true});
}

HistoryWindow::~HistoryWindow() = default;

void HistoryWindow::addCollection() {
  isSidebarWanted_ = true;
  setDrawer(isNarrow());
  if (const auto id = sidebar_->addCollection()) model_->fileInto(id);
}

void HistoryWindow::addKeys() {
  const auto key = [this](const QKeySequence& keys, auto run) {
    auto* const shortcut = new QShortcut(keys, this);
    connect(shortcut, &QShortcut::activated, this, run);
  };
  key(Qt::CTRL | Qt::Key_F, [this] {
    search_->setFocus(Qt::ShortcutFocusReason);
    search_->selectAll();
  });
  key(Qt::CTRL | Qt::Key_A,
      [this] { model_->select([](HistorySelection& selection) { selection.selectAll(); }); });
  key(Qt::CTRL | Qt::Key_Z, [this] { model_->undo(); });
  key(Qt::CTRL | Qt::Key_1, [this] { setMode(0); });
  key(Qt::CTRL | Qt::Key_2, [this] { setMode(1); });
  key(Qt::CTRL | Qt::Key_Plus, [this] { view_->stepTileSize(1); });
  key(Qt::CTRL | Qt::Key_Equal, [this] { view_->stepTileSize(1); });
  key(Qt::CTRL | Qt::Key_Minus, [this] { view_->stepTileSize(-1); });
  key(Qt::Key_F9, [this] { toggleSidebar(); });
  key(Qt::Key_F6, [this] { nextPane(false); });
  key(Qt::SHIFT | Qt::Key_F6, [this] { nextPane(true); });
}

void HistoryWindow::setMode(int mode) {
  bar_->setMode(mode);
  view_->setMode(mode == 0 ? HistoryView::Mode::grid : HistoryView::Mode::list);
}

void HistoryWindow::rename() {
  const EntryList subjects = model_->subjects();
  if (subjects.size() != 1) return;
  if (preview_->isVisible()) preview_->hide();
  if (const auto place = model_->listing().placeOf(subjects.front()->id)) view_->rename(*place);
}

void HistoryWindow::modelChanged(const HistoryModelChange& change) {
  if (change.listing) {
    const auto blank = model_->blank();
    if (blank) blank_->show(*blank);
    // The one takes over the other's focus, and nobody else's.
    const QWidget* const focus = focusWidget();
    const bool hadFocus = focus == nullptr || focus == view_ || focus == blank_ ||
                          blank_->isAncestorOf(focus) || view_->isAncestorOf(focus);
    QWidget* const shown = blank ? static_cast<QWidget*>(blank_) : view_;
    const bool isOther = shown->isHidden();
    shown->show();
    if (isOther && hadFocus) shown->setFocus();
    (blank ? static_cast<QWidget*>(view_) : blank_)->hide();
    bar_->refresh();
  }
  view_->modelChanged(change);
  if (change.sidebar) sidebar_->refresh();
  const bool isOtherWork = model_->progress().has_value() != isBusy_;
  isBusy_ = model_->progress().has_value();
  if (change.listing || change.selection || isOtherWork) {
    commands_->refresh();
    preview_->refresh();
  }
  if (change.listing || change.selection || change.sidebar || change.status) footer_->refresh();
  if (change.undo) {
    undo_->refresh();
    arrangeBars();
  }
  if (change.status) showNotice();
}

void HistoryWindow::showNotice() {
  // What an action came to is said where it moves nothing; what is well, by the footer.
  auto notice = model_->notice();
  if (notice && !notice->isOfAction()) notice.reset();
  if (notice != shownNotice_) said_->show(notice);
  shownNotice_ = std::move(notice);
  const auto& state = model_->state();
  if (state == shownState_) return;
  shownState_ = state;
  if (!state) return hideMessage();
  QString text = QString::fromStdString(state->text);
  if (!state->detail.empty()) text += " " + QString::fromStdString(state->detail);
  if (!state->canRetrySaving) return showMessage(text);
  showMessage(text, QStringLiteral("Try again"), [this] { model_->actions().retrySaving(); });
}

bool HistoryWindow::isNarrow() const { return content_->width() < drawerBelow; }

void HistoryWindow::arrange() {
  const bool isShown = isNarrow() ? isDrawerOpen_ || !drawer_.isAway() : isSidebarWanted_;
  const int width = std::min(sidebar_->sizeHint().width(), content_->width() - 64);
  const int left = isShown && !isNarrow() ? width : 0;
  const int height = content_->height();
  const int room = content_->width() - left;
  const int barRoom = std::max(barHeight, tokens::controlHeight() + tokens::space16);
  const int footerRoom = footer_->sizeHint().height();
  const auto placed = [this](const QRect& area) {
    return QStyle::visualRect(layoutDirection(), content_->rect(), area);
  };
  // A drawer lies over the captures, below the bar that closes it.
  sidebar_->setVisible(isShown);
  const int away = static_cast<int>(std::lround(width * (1 - drawer_.part())));
  sidebar_->setGeometry(placed(isNarrow()
                                   ? QRect(-away, barRoom, width, height - barRoom - footerRoom)
                                   : QRect(0, 0, width, height - footerRoom)));
  bar_->setGeometry(placed({left, 0, room, barRoom}));
  const QRect captures = placed({left, barRoom, room, height - barRoom - footerRoom});
  view_->setGeometry(captures);
  blank_->setGeometry(captures);
  footer_->setGeometry(0, height - footerRoom, content_->width(), footerRoom);
  preview_->setGeometry(content_->rect());
  bar_->setNarrow(isNarrow());
  if (isShown && isNarrow()) sidebar_->raise();
  undo_->setBottom(height - footerRoom - undoGap);
  undo_->raise();
  if (preview_->isVisible()) preview_->raise();
  arrangeBars();
}

/// What is said stands above what can be undone, and is seen over a preview too.
void HistoryWindow::arrangeBars() {
  const int bottom = content_->height() - footer_->height() - undoGap;
  const bool isUndoable = model_->pendingUndo().has_value();
  said_->setBottom(isUndoable ? bottom - undo_->barHeight() - tokens::space8 : bottom);
  said_->raise();
}

bool HistoryWindow::eventFilter(QObject* object, QEvent* event) {
  if (object == content_ && event->type() == QEvent::Resize) arrange();
  if (object == search_ && event->type() == QEvent::KeyPress) {
    const int key = static_cast<QKeyEvent*>(event)->key();
    if (key == Qt::Key_Down || key == Qt::Key_Return || key == Qt::Key_Enter) {
      view_->setFocus(Qt::TabFocusReason);
      return true;
    }
    if (key == Qt::Key_Escape) {
      if (search_->text().isEmpty()) {
        view_->setFocus(Qt::TabFocusReason);
      } else {
        search_->clear();
      }
      return true;
    }
  }
  return WindowFrame::eventFilter(object, event);
}

void HistoryWindow::leave() {
  if (isNarrow() && isDrawerOpen_) return setDrawer(false);
  if (model_->notice() && model_->notice()->isOfAction()) return model_->dismissNotice();
  if (model_->listing().query().hasFilters() || !search_->text().isEmpty()) {
    model_->clearSearch();
  }
}

void HistoryWindow::toggleSidebar() {
  if (isNarrow()) return setDrawer(!isDrawerOpen_);
  isSidebarWanted_ = !isSidebarWanted_;
  arrange();
}

void HistoryWindow::setDrawer(bool isOpen) {
  isDrawerOpen_ = isOpen;
  arrange();
  if (isOpen) {
    drawer_.enter();
  } else {
    drawer_.leave();
  }
}

void HistoryWindow::nextPane(bool isBack) {
  focusNextPane({sidebar_, bar_, view_, footer_}, sidebar_, isBack);
}

void HistoryWindow::keyPressEvent(QKeyEvent* event) {
  const QWidget* const focus = focusWidget();
  const bool isPlain = !(event->modifiers() & ~(Qt::ShiftModifier | Qt::KeypadModifier));
  const bool isTyped =
      isPlain && !event->text().isEmpty() && event->text().front().isLetterOrNumber();
  // A letter begins a search from beside the captures too.
  if (isTyped && focus != nullptr && sidebar_->isAncestorOf(focus)) {
    return view_->onTyped(event->text());
  }
  if (!commands_->explain(*event)) WindowFrame::keyPressEvent(event);
}

void HistoryWindow::showMore(const QPoint& at) {
  auto* const menu = new QMenu(this);
  menu->setAttribute(Qt::WA_DeleteOnClose);
  menu->addAction(QStringLiteral("Select All"), Qt::CTRL | Qt::Key_A, this, [this] {
    model_->select([](HistorySelection& selection) { selection.selectAll(); });
  });
  menu->addAction(QStringLiteral("Larger Tiles"), Qt::CTRL | Qt::Key_Plus, this,
                  [this] { view_->stepTileSize(1); });
  menu->addAction(QStringLiteral("Smaller Tiles"), Qt::CTRL | Qt::Key_Minus, this,
                  [this] { view_->stepTileSize(-1); });
  QMenu* const sorting = menu->addMenu(QStringLiteral("Sort by"));
  using By = HistorySort::By;
  for (const By by : {By::taken, By::title, By::application, By::size, By::kind}) {
    QAction* const action =
        sorting->addAction(labelOf(by), this, [this, by] { model_->sortBy(by); });
    action->setCheckable(true);
    action->setChecked(model_->listing().sort().by == by);
  }
  menu->addSeparator();
  menu->addAction(icon(IconName::plus), QStringLiteral("New Collection"), this, [this] {
    isSidebarWanted_ = true;
    setDrawer(isNarrow());
    sidebar_->addCollection();
  });
  QAction* const undo = menu->addAction(icon(IconName::undo), QStringLiteral("Undo"),
                                        Qt::CTRL | Qt::Key_Z, this, [this] { model_->undo(); });
  undo->setEnabled(model_->pendingUndo().has_value());
  // Without a tray these are nowhere else.
  menu->addSeparator();
  menu->addAction(icon(IconName::area), QStringLiteral("Capture Area"), this,
                  [this] { model_->captureArea(); });
  addActionsTo(*menu);
  menu->popup(at);
}

}  // namespace vantorel
