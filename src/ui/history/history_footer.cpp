#include "ui/history/history_footer.hpp"

#include <QAccessible>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QPainter>
#include <QProgressBar>
#include <QPushButton>
#include <QToolButton>
#include <utility>

#include "ui/history/history_commands.hpp"
#include "ui/history/tile_painting.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/role_label.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr int footerHeight = 44;
constexpr int filingLabelFrom = 760;  // px of width

QHBoxLayout* rowOf(QWidget& widget) {
  auto* const row = new QHBoxLayout(&widget);
  row->setContentsMargins(tokens::space16, 0, tokens::space12, 0);
  row->setSpacing(tokens::space4);
  return row;
}

}  // namespace

HistoryFooter::HistoryFooter(std::shared_ptr<HistoryModel> model, HistoryCommands& commands,
                             QWidget* parent)
    : QWidget(parent),
      model_(std::move(model)),
      commands_(commands),
      summaryRow_(new QWidget(this)),
      summary_(new RoleLabel({}, &PaletteRoles::quiet, tokens::bodyFont)),
      filingLabel_(new QLabel(QStringLiteral("New captures go into"))),
      filing_(new QToolButton),
      progressRow_(new QWidget(this)),
      progressText_(new QLabel),
      progress_(new QProgressBar),
      selectionRow_(new QWidget(this)),
      selected_(new RoleLabel({}, &PaletteRoles::text, tokens::strongFont)),
      size_(new QLabel),
      more_(new QToolButton) {
  setAccessibleName(QStringLiteral("Footer"));
  QHBoxLayout* const summary = rowOf(*summaryRow_);
  summary_->setWordWrap(false);
  summary_->setMostLines(1);
  summary_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
  filingLabel_->setForegroundRole(QPalette::PlaceholderText);
  filing_->setAutoRaise(true);
  filing_->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
  filing_->setToolTip(QStringLiteral("The collection that new captures are filed into"));
  connect(filing_, &QToolButton::clicked, this, [this] { showFilingMenu(); });
  summary->addWidget(summary_, 1);
  summary->addWidget(filingLabel_);
  summary->addWidget(filing_);

  QHBoxLayout* const progress = rowOf(*progressRow_);
  progress_->setTextVisible(false);
  progress_->setFixedHeight(4);
  auto* const stop = new QPushButton(QStringLiteral("Stop"));
  connect(stop, &QPushButton::clicked, this, [this] { model_->actions().stop(); });
  progress->addWidget(progressText_);
  progress->addSpacing(tokens::space12);
  progress->addWidget(progress_, 1);
  progress->addSpacing(tokens::space12);
  progress->addWidget(stop);

  QHBoxLayout* const selection = rowOf(*selectionRow_);
  selected_->setWordWrap(false);
  size_->setForegroundRole(QPalette::PlaceholderText);
  selection->addWidget(selected_);
  selection->addSpacing(tokens::space8);
  selection->addWidget(size_);
  selection->addStretch(1);
  for (QAction* const action :
       {commands_.open, commands_.copyPicture, commands_.star, commands_.collect, commands_.convert,
        commands_.compress, commands_.trash}) {
    selection->addWidget(addButton(action));
  }
  more_->setAutoRaise(true);
  more_->setIcon(icon(IconName::more));
  more_->setAccessibleName(QStringLiteral("More"));
  more_->setToolTip(QStringLiteral("More"));
  connect(more_, &QToolButton::clicked, this, [this] { showRest(); });
  auto* const clear = new QToolButton;
  clear->setAutoRaise(true);
  clear->setIcon(icon(IconName::close));
  clear->setAccessibleName(QStringLiteral("Clear selection"));
  clear->setToolTip(QStringLiteral("Clear selection (Esc)"));
  connect(clear, &QToolButton::clicked, this,
          [this] { model_->select([](HistorySelection& chosen) { chosen.clear(); }); });
  selection->addWidget(more_);
  selection->addWidget(clear);
  refresh();
}

QToolButton* HistoryFooter::addButton(QAction* action) {
  auto* const button = new QToolButton;
  button->setAutoRaise(true);
  button->setDefaultAction(action);
  if (QMenu* const menu = commands_.menuOf(action)) {
    button->setMenu(menu);
    button->setPopupMode(QToolButton::InstantPopup);
  }
  button->setIconSize({rowIconSize, rowIconSize});
  button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
  button->setFocusPolicy(Qt::TabFocus);
  buttons_.push_back(button);
  return button;
}

QSize HistoryFooter::sizeHint() const { return {400, tokens::controlHeight(footerHeight)}; }

void HistoryFooter::paintEvent(QPaintEvent*) {
  const PaletteRoles roles = rolesOf(palette());
  QPainter painter(this);
  painter.fillRect(rect(), roles.window);
  painter.fillRect(0, 0, width(), 1, roles.line);
}

void HistoryFooter::refresh() {
  const bool isSelection = !model_->selection().isEmpty();
  const auto& progress = model_->progress();
  progressRow_->setVisible(progress.has_value());
  selectionRow_->setVisible(isSelection && !progress);
  summaryRow_->setVisible(!isSelection && !progress);
  if (progress) {
    progressText_->setText(QStringLiteral("%1 %2 of %3")
                               .arg(QString::fromStdString(progress->text))
                               .arg(std::min(progress->done + 1, progress->total))
                               .arg(progress->total));
    progress_->setRange(0, static_cast<int>(progress->total));
    progress_->setValue(static_cast<int>(progress->done));
    progress_->setAccessibleName(progressText_->text());
  }
  // What is well is said here for a while, where it moves nothing.
  const auto& notice = model_->notice();
  const bool isSaid = notice && !notice->isProblem();
  const QString said = isSaid ? QString::fromStdString(notice->text) : QString();
  if (isSelection) {
    selected_->setText(QString::fromStdString(model_->selectionText()));
    size_->setText(isSaid ? said : QString::fromStdString(model_->selectionSize()));
  }
  summary_->setText(isSaid ? said : QString::fromStdString(model_->summary()));
  if (isSaid && said != said_) {
    QLabel* const place = isSelection ? size_ : summary_;
    place->setAccessibleName(said);
    QAccessibleEvent alert(place, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
    place->setAccessibleName({});
  }
  said_ = said;
  const HistoryCollection* target = nullptr;
  for (const HistorySidebarRow& row : model_->sidebar()) {
    if (row.isFiledInto) target = model_->store().findCollection(row.collectionID);
  }
  filing_->setVisible(!model_->store().collections().empty());
  filing_->setText(
      (target != nullptr ? QString::fromStdString(target->name) : QStringLiteral("No collection")) +
      QStringLiteral("  ⌄"));
  filing_->setAccessibleName(
      QStringLiteral("New captures go into ") +
      (target != nullptr ? QString::fromStdString(target->name) : QStringLiteral("no collection")));
  filing_->setIcon(target != nullptr ? dotOf(target->color) : QIcon());
  arrange();
}

void HistoryFooter::resizeEvent(QResizeEvent*) { arrange(); }

/// Where there is no room the labels go first, then the last actions, which "More" has.
void HistoryFooter::arrange() {
  for (QWidget* const row : {summaryRow_, progressRow_, selectionRow_}) {
    row->setGeometry(0, 1, width(), height() - 1);
  }
  filingLabel_->setVisible(filing_->isVisibleTo(summaryRow_) && width() >= filingLabelFrom);
  const auto fits = [this] { return selectionRow_->layout()->minimumSize().width() <= width(); };
  for (QToolButton* const button : buttons_) {
    button->setVisible(true);
    button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
  }
  for (QToolButton* const button : buttons_) {
    if (fits()) return;
    button->setToolButtonStyle(Qt::ToolButtonIconOnly);
  }
  for (auto button = buttons_.rbegin(); button != buttons_.rend() && !fits(); ++button) {
    (*button)->setVisible(false);
  }
}

void HistoryFooter::showRest() {
  auto* const menu = new QMenu(this);
  menu->setAttribute(Qt::WA_DeleteOnClose);
  commands_.fill(*menu);
  menu->popup(more_->mapToGlobal(QPoint(0, -menu->sizeHint().height())));
}

void HistoryFooter::showFilingMenu() {
  auto* const menu = new QMenu(this);
  menu->setAttribute(Qt::WA_DeleteOnClose);
  bool isFiling = false;
  for (const HistorySidebarRow& row : model_->sidebar()) {
    if (row.collectionID.empty()) continue;
    isFiling |= row.isFiledInto;
    QAction* const action =
        menu->addAction(dotOf(*row.color), QString::fromStdString(row.label), this,
                        [this, id = row.collectionID] { model_->fileInto(id); });
    action->setCheckable(true);
    action->setChecked(row.isFiledInto);
  }
  menu->addSeparator();
  QAction* const stop = menu->addAction(QStringLiteral("Stop Filing"), this,
                                        [this] { model_->fileInto(std::nullopt); });
  stop->setEnabled(isFiling);
  menu->popup(filing_->mapToGlobal(QPoint(0, -menu->sizeHint().height())));
}

}  // namespace vantorel
