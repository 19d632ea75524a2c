#include "ui/annotate/emoji_picker.hpp"

#include <QAbstractListModel>
#include <QButtonGroup>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLineEdit>
#include <QListView>
#include <QPainter>
#include <QScrollBar>
#include <QStyledItemDelegate>
#include <QToolButton>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

#include "ui/kit/accessible_role.hpp"
#include "ui/kit/box_painting.hpp"
#include "ui/kit/field_buttons.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/role_label.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr int cellSide = 36;
constexpr int tabSide = 32;
constexpr int emojiPixels = 24;
constexpr int emojiColumns = 9;
constexpr int emojiRows = 6;
constexpr std::size_t mostRecent = 27;

/// Those picked since the program began, latest first.
std::vector<Emoji>& recentEmoji() {
  static std::vector<Emoji> all;
  return all;
}

class EmojiCells : public QStyledItemDelegate {
 public:
  using QStyledItemDelegate::QStyledItemDelegate;

  void paint(QPainter* painter, const QStyleOptionViewItem& option,
             const QModelIndex& index) const override {
    const PaletteRoles roles = rolesOf(option.palette);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    const QRectF area = QRectF(option.rect).adjusted(2, 2, -2, -2);
    const bool isCurrent = option.state.testFlag(QStyle::State_HasFocus);
    if (isCurrent || option.state.testFlag(QStyle::State_MouseOver)) {
      paintBox(*painter, area, tokens::buttonRadius, isCurrent ? roles.selection : roles.hover,
               Qt::NoPen);
    }
    if (isCurrent) {
      paintFocusRing(*painter, area.adjusted(3, 3, -3, -3), tokens::keyCapRadius, roles.focus);
    }
    painter->setFont(EmojiPicker::fontOf(emojiPixels));
    painter->setPen(roles.text);
    painter->drawText(option.rect, Qt::AlignCenter, index.data().toString());
    painter->restore();
  }
  [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem&, const QModelIndex&) const override {
    return {cellSide, cellSide};
  }
};

}  // namespace

class EmojiPicker::List : public QAbstractListModel {
 public:
  using QAbstractListModel::QAbstractListModel;

  void show(std::vector<Emoji> emoji) {
    beginResetModel();
    emoji_ = std::move(emoji);
    endResetModel();
  }
  [[nodiscard]] const std::vector<Emoji>& all() const { return emoji_; }

  [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override {
    return parent.isValid() ? 0 : static_cast<int>(emoji_.size());
  }
  [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override {
    if (!index.isValid()) return {};
    const Emoji& emoji = emoji_[static_cast<std::size_t>(index.row())];
    switch (role) {
      case Qt::DisplayRole: return emoji.text;
      case Qt::ToolTipRole:
      case Qt::AccessibleTextRole: return emoji.name;
      default: return {};
    }
  }

 private:
  std::vector<Emoji> emoji_;
};

QFont EmojiPicker::fontOf(int pixels) {
  QFont font = tokens::bodyFont();
  // Other fonts have some of them as well, in black.
  font.setFamilies(QStringList{QStringLiteral("Noto Color Emoji"), QStringLiteral("emoji")} +
                   font.families());
  font.setPixelSize(pixels);
  return font;
}

void EmojiPicker::open(EditorModel& model, QWidget* anchor, const QWidget* strip) {
  auto* const picker = new EmojiPicker(model, anchor);
  picker->Popover::open(strip);
  picker->query_->setFocus();
}

EmojiPicker::EmojiPicker(EditorModel& model, QWidget* anchor)
    : Popover(QStringLiteral("Emoji"), anchor),
      model_(model),
      query_(new QLineEdit(this)),
      groups_(new QButtonGroup(this)),
      grid_(new QListView(this)),
      list_(new List(this)),
      name_(new RoleLabel({}, &PaletteRoles::quiet, tokens::smallFont, this)) {
  auto* const column = new QVBoxLayout(this);
  column->setContentsMargins(0, 0, 0, 0);
  column->setSpacing(tokens::space8);
  query_->setAccessibleName(QStringLiteral("Search emoji"));
  query_->setPlaceholderText(QStringLiteral("Search emoji"));
  query_->setMaxLength(60);
  addClearButton(*query_);
  addSearchMark(*query_);
  query_->installEventFilter(this);
  column->addWidget(query_);
  auto* const tabs = new QHBoxLayout;
  tabs->setSpacing(2);
  column->addLayout(tabs);
  const auto addTab = [&](int id, const QString& face, const QString& name) {
    auto* const tab = new QToolButton(this);
    tab->setCheckable(true);
    tab->setAutoRaise(true);
    tab->setText(face);
    tab->setFont(EmojiPicker::fontOf(17));
    tab->setFixedSize(tabSide, tabSide);
    tab->setToolTip(name);
    tab->setAccessibleName(name);
    setAccessibleRole(*tab, QAccessible::RadioButton);
    groups_->addButton(tab, id);
    tabs->addWidget(tab);
  };
  addTab(-2, QStringLiteral("🕘"), QStringLiteral("Recently used"));
  const auto& groups = emojiGroups();
  for (std::size_t i = 0; i < groups.size(); ++i) {
    if (!groups[i].all.empty()) {
      addTab(static_cast<int>(i), groups[i].all.front().text, groups[i].name);
    }
  }
  tabs->addStretch(1);
  grid_->setModel(list_);
  grid_->setItemDelegate(new EmojiCells(grid_));
  grid_->setViewMode(QListView::IconMode);
  grid_->setMovement(QListView::Static);
  grid_->setResizeMode(QListView::Adjust);
  grid_->setUniformItemSizes(true);
  grid_->setGridSize({cellSide, cellSide});
  grid_->setFrameShape(QFrame::NoFrame);
  grid_->viewport()->setAutoFillBackground(false);
  grid_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  grid_->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
  grid_->setMouseTracking(true);
  grid_->setAccessibleName(QStringLiteral("Emoji"));
  const int bar = grid_->verticalScrollBar()->sizeHint().width();
  grid_->setFixedSize(emojiColumns * cellSide + bar + 4, emojiRows * cellSide);
  grid_->installEventFilter(this);
  column->addWidget(grid_);
  name_->setWordWrap(false);
  name_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
  name_->setMinimumHeight(QFontMetrics(tokens::smallFont()).height());
  column->addWidget(name_);

  connect(query_, &QLineEdit::textEdited, this, &EmojiPicker::search);
  connect(query_, &QLineEdit::textChanged, this, [this](const QString& text) {
    if (text.isEmpty()) search(text);
  });
  connect(groups_, &QButtonGroup::idClicked, this, [this](int index) {
    query_->clear();
    showGroup(index);
  });
  connect(grid_, &QListView::clicked, this, &EmojiPicker::pick);
  connect(grid_, &QListView::entered, this, [this](const QModelIndex& index) {
    name_->setText(index.data(Qt::ToolTipRole).toString());
  });
  connect(
      grid_->selectionModel(), &QItemSelectionModel::currentChanged, this,
      [this](const QModelIndex& index) { name_->setText(index.data(Qt::ToolTipRole).toString()); });
  groups_->button(-2)->setEnabled(!recentEmoji().empty());
  showGroup(recentEmoji().empty() ? 0 : -2);
}

void EmojiPicker::showGroup(int index) {
  shownGroup_ = index;
  if (auto* const tab = groups_->button(index)) tab->setChecked(true);
  list_->show(index < 0 ? recentEmoji() : emojiGroups()[static_cast<std::size_t>(index)].all);
  grid_->scrollToTop();
  name_->setText(index < 0 ? QStringLiteral("Recently used")
                           : emojiGroups()[static_cast<std::size_t>(index)].name);
}

void EmojiPicker::search(const QString& query) {
  if (query.simplified().isEmpty()) return showGroup(shownGroup_);
  groups_->setExclusive(false);
  if (auto* const tab = groups_->checkedButton()) tab->setChecked(false);
  groups_->setExclusive(true);
  list_->show(emojiNamed(query));
  grid_->scrollToTop();
  name_->setText(list_->all().empty()
                     ? QStringLiteral("Nothing matches “%1”").arg(query.simplified())
                     : list_->all().front().name);
}

void EmojiPicker::pick(const QModelIndex& index) {
  if (!index.isValid()) return;
  const Emoji emoji = list_->all()[static_cast<std::size_t>(index.row())];
  auto& recent = recentEmoji();
  std::erase_if(recent, [&](const Emoji& other) { return other.text == emoji.text; });
  recent.insert(recent.begin(), emoji);
  if (recent.size() > mostRecent) recent.pop_back();
  model_.changeStyle([&](ToolStyle& style) { style.emoji = emoji.text.toStdString(); });
  close();
}

bool EmojiPicker::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() != QEvent::KeyPress) return Popover::eventFilter(watched, event);
  auto* const key = static_cast<QKeyEvent*>(event);
  if (key->key() == Qt::Key_Escape) {
    // First what was searched for.
    if (!query_->text().isEmpty()) {
      query_->clear();
      query_->setFocus();
    } else {
      close();
    }
    return true;
  }
  const bool isReturn = key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter;
  if (watched == query_ && isReturn) {
    // Nothing was looked for: the one that is set is what is wanted.
    query_->text().isEmpty() ? leaveTo(*key) : pick(list_->index(0));
    return true;
  }
  if (watched == query_) {
    if (key->key() != Qt::Key_Down || list_->all().empty()) return false;
    grid_->setFocus(Qt::TabFocusReason);
    grid_->setCurrentIndex(list_->index(0));
    return true;
  }
  if (isReturn || key->key() == Qt::Key_Space) {
    pick(grid_->currentIndex());
    return true;
  }
  if (key->key() == Qt::Key_Up && grid_->currentIndex().row() < emojiColumns) {
    query_->setFocus();
    return true;
  }
  // What is typed is searched for.
  if (!key->text().isEmpty() && key->text().front().isPrint()) {
    query_->setFocus();
    query_->insert(key->text());
    search(query_->text());
    return true;
  }
  return false;
}

}  // namespace vantorel
