#include "ui/settings/settings_window.hpp"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPainter>
#include <QResizeEvent>
#include <QScrollArea>
#include <QScrollBar>
#include <QShortcut>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

#include "ui/kit/accessible_role.hpp"
#include "ui/kit/field_buttons.hpp"
#include "ui/kit/icons.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/role_label.hpp"
#include "ui/kit/row_group.hpp"
#include "ui/kit/tokens.hpp"
#include "ui/settings/pane_button.hpp"
#include "ui/settings/setting_row_view.hpp"

namespace vantorel {
namespace {

constexpr QSize usualSize(800, 640);
constexpr QSize leastSize(560, 420);
constexpr int navigationWidth = 196;
constexpr int narrow = 640;
constexpr int widestPane = 600;
constexpr int paneMargin = 28;

IconName symbolOf(SettingsPane pane) {
  switch (pane) {
    case SettingsPane::general: return IconName::settings;
    case SettingsPane::capture: return IconName::area;
    case SettingsPane::afterCapture: return IconName::images;
    case SettingsPane::shortcuts: return IconName::keyboard;
    case SettingsPane::annotate: return IconName::annotate;
    case SettingsPane::text: return IconName::textClip;
    case SettingsPane::library: return IconName::folder;
    case SettingsPane::recording: return IconName::record;
    case SettingsPane::assistants: return IconName::assistant;
  }
  std::unreachable();
}

QString text(std::string_view utf8) {
  return QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
}

QString titleOf(SettingsPane pane) { return text(nameOf(pane)); }

QLineEdit* makeSearch(QWidget* parent) {
  auto* const search = new QLineEdit(parent);
  search->setPlaceholderText(QStringLiteral("Search settings"));
  search->setAccessibleName(QStringLiteral("Search settings"));
  search->setToolTip(QStringLiteral("Search settings (Ctrl+F)"));
  addClearButton(*search);
  addSearchMark(*search);
  return search;
}

}  // namespace

SettingsWindow::SettingsWindow(std::shared_ptr<SettingsModel> model, std::function<void()> onClosed)
    : WindowFrame("settings", QStringLiteral("Settings"), {usualSize, leastSize},
                  std::move(onClosed)),
      model_(std::move(model)) {
  auto* const content = new QWidget(this);
  auto* const halves = new QHBoxLayout(content);
  halves->setContentsMargins(0, 0, 0, 0);
  halves->setSpacing(0);
  halves->addWidget(makeNavigation());
  auto* const right = new QVBoxLayout;
  right->setContentsMargins(0, 0, 0, 0);
  right->setSpacing(0);
  right->addWidget(makeTop());
  right->addWidget(makePane(), 1);
  halves->addLayout(right, 1);
  setContent(content);
  addKeys();
  showing_ = model_->shown();
  observation_ = model_->observe([this](std::string_view id) { changed(id); });
}

SettingsWindow::~SettingsWindow() {
  observation_.end();
  model_->recorder().stop();
}

QWidget* SettingsWindow::makeNavigation() {
  navigation_ = new QWidget(this);
  auto* const column = new QVBoxLayout(navigation_);
  column->setContentsMargins(tokens::space8, tokens::space12, tokens::space8, tokens::space12);
  column->setSpacing(2);
  search_ = makeSearch(navigation_);
  column->addWidget(search_);
  column->addSpacing(tokens::space8);
  for (const SettingsPane pane : model_->panes()) {
    auto* const button = new PaneButton(titleOf(pane), symbolOf(pane), navigation_);
    connect(button, &QAbstractButton::clicked, this, [this, pane] {
      search_->clear();
      model_->select(pane);
    });
    panes_[pane] = button;
    column->addWidget(button);
  }
  column->addStretch();
  fitNavigation();
  connect(search_, &QLineEdit::textChanged, this, [this](const QString& searched) {
    if (topSearch_->text() != searched) topSearch_->setText(searched);
    changed({});
  });
  return navigation_;
}

/// As wide as its longest title needs.
void SettingsWindow::fitNavigation() {
  int width = navigationWidth;
  for (const auto& [pane, button] : panes_) {
    width = std::max(width, button->sizeHint().width() + 2 * tokens::space8);
  }
  navigation_->setFixedWidth(width);
}

void SettingsWindow::changeEvent(QEvent* event) {
  WindowFrame::changeEvent(event);
  if (event->type() == QEvent::FontChange && navigation_ != nullptr) fitNavigation();
  // Somebody may come back from installing what a row spoke of.
  if (event->type() == QEvent::ActivationChange && isBuilt_ && isActiveWindow()) {
    model_->lookAgain();
  }
}

QWidget* SettingsWindow::makeTop() {
  top_ = new QWidget(this);
  auto* const row = new QHBoxLayout(top_);
  row->setContentsMargins(tokens::space16, tokens::space12, tokens::space16, 0);
  row->setSpacing(tokens::space12);
  topPanes_ = new QComboBox(top_);
  setAccessibleRole(*topPanes_, QAccessible::ComboBox);
  topPanes_->setAccessibleName(QStringLiteral("Pane"));
  topPanes_->setToolTip(QStringLiteral("Pane"));
  for (const SettingsPane pane : model_->panes()) {
    topPanes_->addItem(icon(symbolOf(pane)), titleOf(pane), static_cast<int>(pane));
  }
  connect(topPanes_, &QComboBox::activated, this, [this](int index) {
    search_->clear();
    model_->select(static_cast<SettingsPane>(topPanes_->itemData(index).toInt()));
  });
  topSearch_ = makeSearch(top_);
  connect(topSearch_, &QLineEdit::textChanged, this, [this](const QString& searched) {
    if (search_->text() != searched) search_->setText(searched);
  });
  row->addWidget(topPanes_);
  row->addWidget(topSearch_, 1);
  top_->hide();
  return top_;
}

QWidget* SettingsWindow::makePane() {
  scroll_ = new QScrollArea(this);
  scroll_->setWidgetResizable(true);
  scroll_->setFrameShape(QFrame::NoFrame);
  scroll_->setFocusPolicy(Qt::NoFocus);
  scroll_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  // Nothing moves aside when rows grow; a bar with nowhere to go is not painted.
  scroll_->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
  scroll_->viewport()->setAutoFillBackground(false);
  auto* const page = new QWidget;
  page->setAutoFillBackground(false);
  auto* const middle = new QHBoxLayout(page);
  middle->setContentsMargins(paneMargin, tokens::space16 + tokens::space4, paneMargin, paneMargin);
  auto* const pane = new QWidget(page);
  pane->setMaximumWidth(widestPane);
  column_ = new QVBoxLayout(pane);
  column_->setContentsMargins(0, 0, 0, 0);
  column_->setSpacing(0);
  middle->addStretch(1);
  middle->addWidget(pane, 1000);
  middle->addStretch(1);
  scroll_->setWidget(page);
  return scroll_;
}

void SettingsWindow::addKeys() {
  const auto add = [this](const QKeySequence& keys, auto act) {
    auto* const shortcut = new QShortcut(keys, this);
    connect(shortcut, &QShortcut::activated, this, act);
  };
  add(QKeySequence(Qt::CTRL | Qt::Key_F), [this] {
    QLineEdit* const search = navigation_->isVisible() ? search_ : topSearch_;
    search->setFocus(Qt::ShortcutFocusReason);
    search->selectAll();
  });
  add(QKeySequence(Qt::Key_F6), [this] { showNextPart(); });
}

/// The keyboard goes from the panes to the rows and back.
void SettingsWindow::showNextPart() {
  const QWidget* const focused = focusWidget();
  const bool isInRows = focused != nullptr && scroll_->isAncestorOf(focused);
  if (!isInRows) {
    for (QWidget* const child : scroll_->widget()->findChildren<QWidget*>()) {
      if (!child->isVisible() || !child->isEnabled() || !(child->focusPolicy() & Qt::TabFocus)) {
        continue;
      }
      return child->setFocus(Qt::TabFocusReason);
    }
  }
  if (navigation_->isVisible()) {
    panes_.at(model_->pane())->setFocus(Qt::TabFocusReason);
  } else {
    topPanes_->setFocus(Qt::TabFocusReason);
  }
}

void SettingsWindow::showEvent(QShowEvent* event) {
  if (!isBuilt_) {
    model_->select(model_->pane());
    isBuilt_ = true;
    rebuild();
  }
  WindowFrame::showEvent(event);
  showProblem();
  showPointedTo();
}

void SettingsWindow::showProblem() {
  const std::string problem = model_->problem();
  if (problem == shownProblem_) return;
  shownProblem_ = problem;
  if (problem.empty()) return hideMessage();
  showMessage(text(problem), QStringLiteral("Try again"), [this] {
    // Failing once more, it is said once more.
    shownProblem_.clear();
    model_->retrySaving();
  });
}

/// The keyboard goes to the row that somebody was led to.
void SettingsWindow::showPointedTo() {
  if (!isVisible()) return;
  const auto found = rows_.find(model_->takePointedTo());
  if (found == rows_.end()) return;
  found->second->pointTo();
  scroll_->widget()->layout()->activate();
  scroll_->ensureWidgetVisible(found->second);
}

void SettingsWindow::changed(std::string_view id) {
  if (!isBuilt_) return;
  showChange(id);
  showProblem();
  showPointedTo();
}

void SettingsWindow::showChange(std::string_view id) {
  // Who asks for a pane wants to see it.
  if (model_->pane() != shownPane_ && !search_->text().isEmpty()) return search_->clear();
  if (model_->pane() != shownPane_ || search_->text().trimmed() != shownSearch_) return rebuild();
  if (id.empty()) {
    for (const auto& [each, row] : rows_) row->setLine(model_->line(each));
  } else if (const auto found = rows_.find(id); found != rows_.end()) {
    found->second->setLine(model_->line(id));
    // What is asked in the row that has the keyboard is not asked below the window's edge.
    const QWidget* const focused = focusWidget();
    if (focused == nullptr || !found->second->isAncestorOf(focused)) return;
    scroll_->widget()->layout()->activate();
    scroll_->ensureWidgetVisible(found->second);
  }
}

void SettingsWindow::rebuild() {
  model_->recorder().stop();
  shownPane_ = model_->pane();
  shownSearch_ = search_->text().trimmed();
  showNavigation();
  rows_.clear();
  while (QLayoutItem* const item = column_->takeAt(0)) {
    // A row may be in the middle of its own event.
    if (item->widget() != nullptr) {
      item->widget()->hide();
      item->widget()->deleteLater();
    }
    delete item;
  }
  const bool isSearch = !shownSearch_.isEmpty();
  auto* const title = new RoleLabel(isSearch ? QStringLiteral("Search") : titleOf(shownPane_),
                                    &PaletteRoles::text, tokens::titleFont);
  column_->addWidget(title);
  column_->addSpacing(tokens::space12);
  if (isSearch) {
    const auto found = model_->found(shownSearch_.toStdString());
    if (found.empty()) {
      column_->addWidget(new RoleLabel(QStringLiteral("Nothing matches “%1”").arg(shownSearch_),
                                       &PaletteRoles::quiet, tokens::bodyFont));
    }
    addLines(found, true);
  } else {
    const std::string_view remark = SettingsModel::remarkOn(shownPane_);
    if (!remark.empty()) {
      column_->addWidget(new RoleLabel(text(remark), &PaletteRoles::quiet, tokens::bodyFont));
      column_->addSpacing(tokens::space12);
    }
    addLines(model_->lines(shownPane_), false);
  }
  column_->addStretch(1);
  scroll_->verticalScrollBar()->setValue(0);
}

void SettingsWindow::addLines(const std::vector<SettingsLine>& lines, bool namesPanes) {
  RowGroup* group = nullptr;
  QString before;
  for (const SettingsLine& line : lines) {
    QString title = text(line.group);
    if (namesPanes) {
      title = titleOf(line.pane) + (title.isEmpty() ? QString() : QStringLiteral(" · ") + title);
    }
    if (group == nullptr || title != before) {
      if (group != nullptr) column_->addSpacing(tokens::space16 + tokens::space4);
      if (!title.isEmpty()) {
        auto* const heading = new RoleLabel(title, &PaletteRoles::quiet, [] {
          QFont font = tokens::smallFont();
          font.setWeight(QFont::DemiBold);
          return font;
        });
        heading->setIndent(2);
        column_->addWidget(heading);
        column_->addSpacing(6);
      }
      group = new RowGroup;
      group->setAccessibleName(title.isEmpty() ? titleOf(line.pane) : title);
      column_->addWidget(group);
      before = title;
    }
    auto* const row = new SettingRowView(model_, line, plainSymbol_);
    rows_[line.id] = row;
    group->addRow(row);
  }
}

void SettingsWindow::showNavigation() {
  for (const auto& [pane, button] : panes_) {
    // Nothing is on while all panes are searched.
    button->setAutoExclusive(false);
    button->setChecked(pane == shownPane_ && shownSearch_.isEmpty());
    button->setAutoExclusive(true);
  }
  topPanes_->setCurrentIndex(topPanes_->findData(static_cast<int>(shownPane_)));
}

void SettingsWindow::leave() {
  if (!search_->text().isEmpty()) search_->clear();
}

void SettingsWindow::resizeEvent(QResizeEvent* event) {
  WindowFrame::resizeEvent(event);
  // A wider navigation takes no room from the rows.
  const bool isNarrow = width() < narrow + navigation_->width() - navigationWidth;
  navigation_->setVisible(!isNarrow);
  top_->setVisible(isNarrow);
}

void SettingsWindow::paintEvent(QPaintEvent* event) {
  WindowFrame::paintEvent(event);
  if (!navigation_->isVisible()) return;
  QPainter painter(this);
  const PaletteRoles roles = rolesOf(palette());
  const QRect area(navigation_->mapTo(this, QPoint(0, 0)), navigation_->size());
  painter.fillRect(area, roles.side);
  const int edge = layoutDirection() == Qt::RightToLeft ? area.left() : area.right();
  painter.fillRect(QRect(edge, area.top(), 1, area.height()), roles.line);
}

}  // namespace vantorel
