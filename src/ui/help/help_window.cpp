#include "ui/help/help_window.hpp"

#include <QEvent>
#include <QLineEdit>
#include <QScrollArea>
#include <QScrollBar>
#include <QShortcut>
#include <QVBoxLayout>
#include <utility>

#include "ui/help/help_row.hpp"
#include "ui/kit/field_buttons.hpp"
#include "ui/kit/icons.hpp"
#include "ui/kit/role_label.hpp"
#include "ui/kit/row_group.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr QSize usualSize(560, 560);
constexpr QSize leastSize(400, 320);

QFont headingFont() {
  QFont font = tokens::smallFont();
  font.setWeight(QFont::DemiBold);
  return font;
}

}  // namespace

HelpWindow::HelpWindow(std::shared_ptr<HelpModel> model, std::function<void()> onClosed)
    : WindowFrame("help", QStringLiteral("Help"), {usualSize, leastSize, true},
                  std::move(onClosed)),
      model_(std::move(model)),
      search_(new QLineEdit),
      scroll_(new QScrollArea) {
  auto* const content = new QWidget(this);
  auto* const all = new QVBoxLayout(content);
  all->setContentsMargins(0, tokens::space12, 0, 0);
  all->setSpacing(tokens::space8);
  auto* const top = new QVBoxLayout;
  top->setContentsMargins(tokens::space24, 0, tokens::space24, 0);
  search_->setPlaceholderText(QStringLiteral("Search commands and keys"));
  search_->setAccessibleName(QStringLiteral("Search commands and keys"));
  search_->setToolTip(QStringLiteral("Search commands and keys (Ctrl+F)"));
  addClearButton(*search_);
  addSearchMark(*search_);
  top->addWidget(search_);
  all->addLayout(top);

  scroll_->setWidgetResizable(true);
  scroll_->setFrameShape(QFrame::NoFrame);
  scroll_->setFocusPolicy(Qt::NoFocus);
  scroll_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  scroll_->viewport()->setAutoFillBackground(false);
  auto* const page = new QWidget;
  page->setAutoFillBackground(false);
  column_ = new QVBoxLayout(page);
  column_->setContentsMargins(tokens::space24, 0, tokens::space24, tokens::space16 + 4);
  column_->setSpacing(0);
  scroll_->setWidget(page);
  all->addWidget(scroll_, 1);
  setContent(content);

  connect(search_, &QLineEdit::textChanged, this, [this] {
    rebuild();
    scroll_->verticalScrollBar()->setValue(0);
  });
  const auto find = [this] {
    search_->setFocus(Qt::ShortcutFocusReason);
    search_->selectAll();
  };
  connect(new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_F), this), &QShortcut::activated, this,
          find);
  connect(new QShortcut(QKeySequence(Qt::Key_F6), this), &QShortcut::activated, this, [this, find] {
    if (!search_->hasFocus()) return find();
    for (HelpRow* const row : scroll_->widget()->findChildren<HelpRow*>()) {
      if (row->focusPolicy() != Qt::NoFocus && row->isEnabled()) {
        return row->setFocus(Qt::TabFocusReason);
      }
    }
  });
  observation_ = model_->observe([this] { rebuild(); });
}

HelpWindow::~HelpWindow() = default;

void HelpWindow::showEvent(QShowEvent* event) {
  rebuild();
  WindowFrame::showEvent(event);
}

void HelpWindow::changeEvent(QEvent* event) {
  WindowFrame::changeEvent(event);
  // What may run may have changed while somebody was elsewhere.
  if (event->type() == QEvent::ActivationChange && isActiveWindow()) rebuild();
}

void HelpWindow::leave() { search_->clear(); }

void HelpWindow::rebuild() {
  const int at = scroll_->verticalScrollBar()->value();
  while (QLayoutItem* const item = column_->takeAt(0)) {
    if (item->widget() != nullptr) {
      item->widget()->hide();
      item->widget()->deleteLater();  // it may be what was clicked
    }
    delete item;
  }
  const auto sections = model_->sections(search_->text().toStdString());
  for (const HelpModel::Section& section : sections) {
    column_->addSpacing(column_->count() == 0 ? tokens::space4 : tokens::space16);
    auto* const heading =
        new RoleLabel(QString::fromStdString(section.title), &PaletteRoles::quiet, headingFont);
    heading->setIndent(2);
    column_->addWidget(heading);
    column_->addSpacing(6);
    auto* const group = new RowGroup;
    group->setAccessibleName(heading->text());
    for (const HelpModel::Row& row : section.rows) {
      auto* const line = new HelpRow(row);
      connect(line, &QAbstractButton::clicked, this, [this, row] { model_->run(row); });
      group->addRow(line);
    }
    column_->addWidget(group);
  }
  if (sections.empty()) {
    column_->addSpacing(tokens::space24);
    column_->addWidget(
        new RoleLabel(QStringLiteral("Nothing matches “%1”").arg(search_->text().trimmed()),
                      &PaletteRoles::quiet, tokens::bodyFont));
  }
  column_->addStretch(1);
  column_->activate();
  scroll_->verticalScrollBar()->setValue(at);
}

}  // namespace vantorel
