#include "ui/history/history_bar.hpp"

#include <QHBoxLayout>
#include <QMenu>
#include <QPainter>
#include <QToolButton>
#include <utility>

#include "ui/history/history_search_field.hpp"
#include "ui/kit/icons.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/segmented_control.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr int widestSearch = 560;

QToolButton* barButton(IconName symbol, const QString& name, const QString& key) {
  auto* const button = new QToolButton;
  button->setAutoRaise(true);
  button->setIcon(icon(symbol));
  button->setAccessibleName(name);
  button->setToolTip(key.isEmpty() ? name : name + " (" + key + ")");
  button->setFocusPolicy(Qt::TabFocus);
  return button;
}

QString asLabel(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

}  // namespace

HistoryBar::HistoryBar(std::shared_ptr<HistoryModel> model, QWidget* parent)
    : QWidget(parent),
      model_(std::move(model)),
      search_(new HistorySearchField),
      filter_(barButton(IconName::filter, QStringLiteral("Filter"), {})),
      modes_(new SegmentedControl(
          {{QStringLiteral("Grid"), QStringLiteral("Grid (Ctrl+1)"), IconName::grid},
           {QStringLiteral("List"), QStringLiteral("List (Ctrl+2)"), IconName::list}})) {
  auto* const row = new QHBoxLayout(this);
  row->setContentsMargins(tokens::space12, 0, tokens::space12, 0);
  row->setSpacing(tokens::space8);
  QToolButton* const sidebar =
      barButton(IconName::sidebar, QStringLiteral("Sidebar"), QStringLiteral("F9"));
  connect(sidebar, &QToolButton::clicked, this, [this] {
    if (onSidebar) onSidebar();
  });
  search_->setMaximumWidth(widestSearch);
  search_->setMinimumWidth(120);
  connect(search_, &QLineEdit::textChanged, this, [this](const QString& text) {
    if (!search_->isShowing()) model_->search(text.toStdString());
  });
  search_->onRemoved = [this](HistoryFilter filter) { model_->removeFilter(filter); };
  filter_->setText(QStringLiteral("Filter"));
  filter_->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
  connect(filter_, &QToolButton::clicked, this, [this] { showFilters(); });
  modes_->setAccessibleName(QStringLiteral("View"));
  modes_->setCurrent(0);
  modes_->onChosen([this](int mode) {
    if (onMode) onMode(mode);
  });
  QToolButton* const more = barButton(IconName::more, QStringLiteral("More"), {});
  connect(more, &QToolButton::clicked, this, [this, more] {
    if (onMore) onMore(more->mapToGlobal(QPoint(0, more->height())));
  });
  row->addWidget(sidebar);
  row->addSpacing(tokens::space8);
  row->addWidget(search_, 1000);
  row->addStretch(1);  // what the search leaves
  row->addWidget(filter_);
  row->addWidget(modes_);
  row->addWidget(more);
  refresh();
}

void HistoryBar::paintEvent(QPaintEvent*) {
  const PaletteRoles roles = rolesOf(palette());
  QPainter painter(this);
  painter.fillRect(rect(), roles.window);
  painter.fillRect(0, height() - 1, width(), 1, roles.line);
}

void HistoryBar::refresh() {
  const HistoryQuery& query = model_->listing().query();
  search_->show(query);
  filter_->setIcon(icon(IconName::filter, query.hasFilters() ? IconTint::accent : IconTint::text));
}

void HistoryBar::setNarrow(bool isNarrow) {
  filter_->setToolButtonStyle(isNarrow ? Qt::ToolButtonIconOnly : Qt::ToolButtonTextBesideIcon);
}

void HistoryBar::setMode(int mode) { modes_->setCurrent(mode); }

void HistoryBar::addChoice(QMenu& menu, const QString& label, bool isOn,
                           std::function<void(HistoryQuery&)> change) {
  QString shown = label;
  shown.replace('&', QStringLiteral("&&"));
  QAction* const action = menu.addAction(shown, this, [this, change = std::move(change)] {
    HistoryQuery changed = model_->listing().query();
    change(changed);
    model_->setQuery(std::move(changed));
  });
  action->setCheckable(true);
  action->setChecked(isOn);
}

void HistoryBar::fillKinds(QMenu& menu) {
  const auto& chosen = model_->listing().query().kind;
  addChoice(menu, QStringLiteral("All"), !chosen, [](HistoryQuery& query) { query.kind.reset(); });
  for (const CaptureMedium medium :
       {CaptureMedium::image, CaptureMedium::recording, CaptureMedium::gif, CaptureMedium::text,
        CaptureMedium::project}) {
    addChoice(menu, asLabel(kindsLabel(medium)), chosen == medium,
              [medium](HistoryQuery& query) { query.kind = medium; });
  }
}

void HistoryBar::fillApplications(QMenu& menu) {
  const std::string& chosen = model_->listing().query().application;
  addChoice(menu, QStringLiteral("All"), chosen.empty(),
            [](HistoryQuery& query) { query.application.clear(); });
  for (const auto& [name, count] : model_->applications()) {
    addChoice(menu, QString::fromStdString(name), chosen == name,
              [application = name](HistoryQuery& query) { query.application = application; });
  }
}

void HistoryBar::fillDates(QMenu& menu) {
  const auto& chosen = model_->listing().query().days;
  addChoice(menu, QStringLiteral("Any time"), !chosen,
            [](HistoryQuery& query) { query.days.reset(); });
  for (const int days : historyAges) {
    addChoice(menu, QString::fromStdString(ageLabel(days)), chosen == days,
              [days](HistoryQuery& query) { query.days = days; });
  }
}

void HistoryBar::showFilters() {
  auto* const menu = new QMenu(this);
  menu->setAttribute(Qt::WA_DeleteOnClose);
  fillKinds(*menu->addMenu(QStringLiteral("Kind")));
  fillApplications(*menu->addMenu(QStringLiteral("Application")));
  fillDates(*menu->addMenu(QStringLiteral("Date")));
  addChoice(*menu, QStringLiteral("Starred"), model_->listing().query().isStarred,
            [](HistoryQuery& query) { query.isStarred = !query.isStarred; });
  menu->addSeparator();
  QAction* const clear = menu->addAction(QStringLiteral("Clear Filters"), this, [this] {
    model_->setQuery(model_->listing().query().withoutFilters());
  });
  clear->setEnabled(model_->listing().query().hasFilters());
  menu->popup(filter_->mapToGlobal(QPoint(0, filter_->height())));
}

}  // namespace vantorel
