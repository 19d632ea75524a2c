#include "ui/history/history_sidebar.hpp"

#include <QAction>
#include <QEvent>
#include <QLabel>
#include <QMenu>
#include <QToolButton>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

#include "library/entry_filter.hpp"
#include "ui/history/sidebar_row.hpp"
#include "ui/kit/accessible_role.hpp"
#include "ui/kit/icons.hpp"
#include "ui/kit/name_field.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/role_label.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr int usualWidth = 208;

}  // namespace

HistorySidebar::HistorySidebar(std::shared_ptr<HistoryModel> model, QWidget* parent)
    : QScrollArea(parent),
      model_(std::move(model)),
      inside_(new QWidget),
      scopes_(new QVBoxLayout),
      collections_(new QVBoxLayout) {
  setFrameShape(QFrame::NoFrame);
  setWidgetResizable(true);
  setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  setFocusPolicy(Qt::NoFocus);
  setAccessibleName(QStringLiteral("Sidebar"));
  setAccessibleRole(*inside_, QAccessible::List);
  inside_->setAccessibleName(QStringLiteral("What is shown"));
  auto* const column = new QVBoxLayout(inside_);
  column->setContentsMargins(0, tokens::space12, 0, tokens::space12);
  column->setSpacing(0);
  column->addLayout(scopes_);
  auto* const head = new QHBoxLayout;
  constexpr int begin = 18;
  head->setContentsMargins(isRightToLeft() ? tokens::space8 : begin, tokens::space12,
                           isRightToLeft() ? begin : tokens::space8, tokens::space4);
  auto* const label = new RoleLabel(QStringLiteral("Collections"), &PaletteRoles::quiet, [] {
    QFont font = tokens::smallFont();
    font.setWeight(QFont::DemiBold);
    return font;
  });
  label->setWordWrap(false);
  // Its letters are of the other direction in a mirrored window.
  label->setAlignment((isRightToLeft() ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignAbsolute |
                      Qt::AlignVCenter);
  auto* const add = new QToolButton;
  add->setAutoRaise(true);
  add->setIcon(icon(IconName::plus));
  add->setIconSize({rowIconSize, rowIconSize});
  add->setAccessibleName(QStringLiteral("New collection"));
  add->setToolTip(QStringLiteral("New collection"));
  connect(add, &QToolButton::clicked, this, [this] { addCollection(); });
  head->addWidget(label, 1);
  head->addWidget(add);
  column->addLayout(head);
  column->addLayout(collections_);
  column->addStretch(1);
  setWidget(inside_);
  paintGround();
  refresh();
}

QSize HistorySidebar::sizeHint() const {
  // Large fonts need more room.
  return {usualWidth * std::max(16, fontMetrics().height()) / 16, 400};
}

void HistorySidebar::paintGround() {
  QPalette changed = palette();
  changed.setColor(QPalette::Window, rolesOf(window()->palette()).side);
  inside_->setPalette(changed);
  inside_->setAutoFillBackground(true);
}

void HistorySidebar::changeEvent(QEvent* event) {
  QScrollArea::changeEvent(event);
  if (event->type() == QEvent::PaletteChange && inside_ != nullptr) paintGround();
}

SidebarRow* HistorySidebar::rowOf(const std::string& collectionID) const {
  for (SidebarRow* const row : rows_) {
    if (row->row().collectionID == collectionID) return row;
  }
  return nullptr;
}

void HistorySidebar::refresh() {
  const std::vector<HistorySidebarRow> wanted = model_->sidebar();
  while (rows_.size() > wanted.size()) {
    rows_.back()->deleteLater();
    rows_.pop_back();
  }
  for (std::size_t i = 0; i < wanted.size(); ++i) {
    if (i == rows_.size()) {
      auto* const row = new SidebarRow;
      rows_.push_back(row);
      (wanted[i].collectionID.empty() ? scopes_ : collections_)->addWidget(row);
      connect(row, &QAbstractButton::clicked, this, [this, row] {
        const HistorySidebarRow chosen = row->row();
        row->setChecked(true);
        model_->show(chosen.scope, chosen.collectionID);
        if (onChosen) onChosen();
      });
      row->onMenu = [this, row](const QPoint& at) { showMenu(row->row().collectionID, at); };
      row->onRename = [this, row] { rename(row->row().collectionID); };
      row->onRemove = [this, row] {
        model_->removeCollection(std::string(row->row().collectionID));
      };
      row->onDrop = [this, row](const auto& ids) { drop(row->row().collectionID, ids); };
      row->onCollectionDropped = [this, row](const std::string& moved) {
        reorder(moved, row->row().collectionID);
      };
      row->onMove = [this, row](int places) { move(row->row().collectionID, places); };
      row->onStep = [this, row](int step) {
        const auto at = std::ranges::find(rows_, row) - rows_.begin() + step;
        if (at < 0 || at >= std::ssize(rows_)) return;
        rows_[static_cast<std::size_t>(at)]->setFocus(Qt::TabFocusReason);
        rows_[static_cast<std::size_t>(at)]->click();
      };
    }
    rows_[i]->show(wanted[i]);
    rows_[i]->setVisible(true);
  }
}

std::optional<std::string> HistorySidebar::addCollection() {
  const auto id = model_->createCollection("New collection");
  if (!id) return std::nullopt;
  refresh();
  inside_->layout()->activate();
  rename(*id);
  return *id;
}

void HistorySidebar::rename(const std::string& collectionID, std::function<void()> then) {
  SidebarRow* const row = rowOf(collectionID);
  if (row == nullptr) return;
  ensureWidgetVisible(row);
  auto* const editor =
      new NameField(row->text(), QStringLiteral("Name of the collection"), row->labelArea(), row);
  editor->onDone = [this, collectionID, row,
                    then = std::move(then)](const std::optional<QString>& name) {
    if (name) model_->renameCollection(collectionID, name->toStdString());
    if (then && row->hasFocus()) then();
  };
}

void HistorySidebar::showMenu(const std::string& collectionID, const QPoint& at) {
  const SidebarRow* const row = rowOf(collectionID);
  if (row == nullptr) return;
  auto* const menu = new QMenu(this);
  menu->setAttribute(Qt::WA_DeleteOnClose);
  const bool isFiledInto = row->row().isFiledInto;
  menu->addAction(
      icon(IconName::save),
      isFiledInto ? QStringLiteral("Stop Filing") : QStringLiteral("File New Captures Here"), this,
      [this, collectionID, isFiledInto] {
        model_->fileInto(isFiledInto ? std::nullopt : std::optional(collectionID));
      });
  menu->addAction(icon(IconName::rename), QStringLiteral("Rename…"), Qt::Key_F2, this,
                  [this, collectionID] { rename(collectionID); });
  menu->addSeparator();
  const auto [place, count] = placeOf(collectionID);
  menu->addAction(QStringLiteral("Move Up"), Qt::ALT | Qt::Key_Up, this,
                  [this, collectionID] { move(collectionID, -1); })
      ->setEnabled(place > 0);
  menu->addAction(QStringLiteral("Move Down"), Qt::ALT | Qt::Key_Down, this,
                  [this, collectionID] { move(collectionID, 1); })
      ->setEnabled(place + 1 < count);
  menu->addSeparator();
  menu->addAction(icon(IconName::trash), QStringLiteral("Delete Collection"), Qt::Key_Delete, this,
                  [this, collectionID] { model_->removeCollection(collectionID); });
  menu->popup(at);
}

void HistorySidebar::drop(const std::string& target, const std::vector<std::string>& captures) {
  model_->actions().collect(findEntries(model_->store(), captures), target, true);
}

/// Among the others, and how many they are.
std::pair<std::ptrdiff_t, std::ptrdiff_t> HistorySidebar::placeOf(
    const std::string& collectionID) const {
  const auto& all = model_->store().collections();
  const auto found = std::ranges::find(all, collectionID, &HistoryCollection::id);
  return {found - all.begin(), std::ssize(all)};
}

/// The keyboard goes with it. By value: the row that names it is another one's then.
void HistorySidebar::move(std::string collectionID, int places) {
  const auto [from, count] = placeOf(collectionID);
  const auto to = from + places;
  if (from == count || to < 0 || to >= count) return;
  model_->moveCollection(collectionID, static_cast<std::size_t>(to));
  refresh();
  if (SidebarRow* const row = rowOf(collectionID)) {
    row->setFocus(Qt::OtherFocusReason);
    ensureWidgetVisible(row);
  }
}

void HistorySidebar::reorder(const std::string& moved, const std::string& before) {
  const auto [from, count] = placeOf(moved);
  const auto [to, same] = placeOf(before);
  if (from == to || from == count || to == same) return;
  model_->moveCollection(moved, static_cast<std::size_t>(to));
}

}  // namespace vantorel
