#include "ui/settings/setting_row_view.hpp"

#include <QEvent>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QPainter>
#include <QPushButton>
#include <QToolButton>
#include <QVBoxLayout>
#include <utility>

#include "ui/kit/busy_ring.hpp"
#include "ui/kit/icons.hpp"
#include "ui/kit/link_button.hpp"
#include "ui/kit/role_label.hpp"
#include "ui/kit/tokens.hpp"
#include "ui/kit/vantorel_style.hpp"

namespace vantorel {
namespace {

constexpr int rowMargin = 14;
constexpr int rowPadding = 7;
constexpr int leastLabel = 140;
constexpr int leastLetters = 20;  // of a label, where the font is large
constexpr int resetSlot = 24;

QString text(const std::string& utf8) { return QString::fromStdString(utf8); }

/// The ground of a question that waits below its field.
class WarningBox : public QWidget {
 public:
  using QWidget::QWidget;

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    const PaletteRoles roles = rolesOf(palette());
    paintBox(painter, rect(), tokens::buttonRadius, roles.warningGround, Qt::NoPen);
  }
};

}  // namespace

SettingRowView::SettingRowView(std::shared_ptr<SettingsModel> model, const SettingsLine& line,
                               PlainSymbol plainSymbol, QWidget* parent)
    : QWidget(parent),
      model_(std::move(model)),
      id_(line.id),
      layout_(new QBoxLayout(QBoxLayout::LeftToRight, this)),
      label_(new RoleLabel({}, &PaletteRoles::text, tokens::bodyFont, this)),
      explanation_(new RoleLabel({}, &PaletteRoles::quiet, tokens::smallFont, this)),
      remark_(new RoleLabel({}, &PaletteRoles::warning, tokens::smallFont, this)),
      side_(new QWidget(this)),
      sideColumn_(new QVBoxLayout(side_)),
      reset_(new QToolButton(this)) {
  layout_->setContentsMargins(rowMargin, rowPadding, rowMargin - 6, rowPadding);
  layout_->setSpacing(tokens::space12);
  auto* const words = new QVBoxLayout;
  words->setSpacing(1);
  words->addStretch();
  words->addWidget(label_);
  words->addWidget(explanation_);
  words->addWidget(remark_);
  words->addStretch();
  layout_->addLayout(words, 1);

  auto* const controls = new QHBoxLayout;
  controls->setSpacing(tokens::space12);
  sideColumn_->setContentsMargins(0, 0, 0, 0);
  sideColumn_->setSpacing(6);
  controls->addStretch();
  controls->addWidget(side_, 0, Qt::AlignVCenter);
  reset_->setIcon(icon(IconName::reset, IconTint::quiet));
  reset_->setIconSize(QSize(rowIconSize, rowIconSize));
  reset_->setAutoRaise(true);
  reset_->setFocusPolicy(Qt::TabFocus);
  reset_->setFixedSize(resetSlot, resetSlot);
  QSizePolicy kept = reset_->sizePolicy();
  kept.setRetainSizeWhenHidden(true);
  reset_->setSizePolicy(kept);
  connect(reset_, &QToolButton::clicked, this, [this] { model_->reset(id_); });
  controls->addWidget(reset_, 0, Qt::AlignVCenter);
  layout_->addLayout(controls);
  setMinimumHeight(tokens::settingsRow);

  isFolder_ = line.control == SettingControl::folder;
  if (line.control == SettingControl::shortcut) {
    addShortcut(line, std::move(plainSymbol));
  } else {
    editor_ = makeSettingEditor(model_, line, side_);
    if (editor_.widget != nullptr) {
      sideColumn_->addWidget(editor_.widget, 0, Qt::AlignTrailing);
    }
  }
  if (!line.button.empty()) addButton();
  setLine(line);
}

void SettingRowView::addShortcut(const SettingsLine& line, PlainSymbol plainSymbol) {
  field_ = new ShortcutField(model_->recorder(), line.id, std::move(plainSymbol), side_);
  sideColumn_->addWidget(field_, 0, Qt::AlignTrailing);
  question_ = new WarningBox(side_);
  question_->setFixedWidth(settingControlWidth);
  auto* const column = new QVBoxLayout(question_);
  column->setContentsMargins(10, 6, 10, 6);
  column->setSpacing(2);
  questionWords_ = new RoleLabel({}, &PaletteRoles::warning, tokens::smallFont, question_);
  column->addWidget(questionWords_);
  auto* const answers = new QHBoxLayout;
  answers->setContentsMargins(-tokens::space4, 0, 0, 0);
  answers->setSpacing(tokens::space8);
  useItHere_ = new LinkButton(QStringLiteral("Use it here"), question_);
  cancel_ = new LinkButton(QStringLiteral("Cancel"), question_);
  for (LinkButton* const button : {useItHere_, cancel_}) {
    button->setFocusPolicy(Qt::TabFocus);
    answers->addWidget(button);
  }
  answers->addStretch();
  column->addLayout(answers);
  connect(useItHere_, &QPushButton::clicked, this, [this] { model_->recorder().useItHere(); });
  connect(cancel_, &QPushButton::clicked, this, [this] { model_->recorder().stop(); });
  sideColumn_->addWidget(question_, 0, Qt::AlignTrailing);
}

void SettingRowView::addButton() {
  auto* const row = new QHBoxLayout;
  row->setSpacing(tokens::space8);
  ring_ = new BusyRing(side_);
  progress_ = new RoleLabel({}, &PaletteRoles::quiet, tokens::smallFont, side_);
  progress_->setWordWrap(false);
  button_ = new QPushButton(side_);
  button_->setAutoDefault(false);
  row->addStretch();
  row->addWidget(ring_);
  row->addWidget(progress_);
  row->addWidget(button_);
  sideColumn_->addLayout(row);
  connect(button_, &QPushButton::clicked, this, [this] { press(); });
}

void SettingRowView::press() {
  if (!isFolder_ || isBusy_) return model_->press(id_);
  auto* const dialog = new QFileDialog(this, label_->text(), text(model_->line(id_).value));
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  dialog->setFileMode(QFileDialog::Directory);
  dialog->setOption(QFileDialog::ShowDirsOnly);
  dialog->setLabelText(QFileDialog::Accept, QStringLiteral("Move here"));
  connect(dialog, &QFileDialog::fileSelected, this,
          [this](const QString& folder) { model_->set(id_, folder.toStdString()); });
  dialog->open();
}

void SettingRowView::setLine(const SettingsLine& line) {
  isBusy_ = line.isBusy;
  showWords(line);
  const bool isOff = !line.obstacle.empty();
  const QString tip = text(isOff ? line.obstacle : line.meaning);
  label_->setEnabled(!isOff);
  label_->setToolTip(tip);
  side_->setEnabled(!isOff);
  side_->setToolTip(isOff ? tip : QString());
  if (editor_.widget != nullptr) {
    // Composed ones hand the focus on.
    QWidget* const target =
        editor_.widget->focusProxy() != nullptr ? editor_.widget->focusProxy() : editor_.widget;
    target->setAccessibleName(text(line.label));
    target->setAccessibleDescription(text(line.explanation));
    target->setToolTip(tip);
    editor_.show(line);
  }
  if (field_ != nullptr) showShortcut(line);
  if (button_ != nullptr) {
    button_->setText(text(line.button));
    button_->setAccessibleName(text(line.label) + QStringLiteral(": ") + text(line.button));
    button_->setToolTip(tip);
    progress_->setText(text(line.progress));
    progress_->setVisible(!line.progress.empty());
    ring_->setBusy(line.isBusy);
    ring_->setVisible(line.isBusy);
  }
  reset_->setVisible(!line.resetLabel.empty());
  reset_->setToolTip(text(line.resetLabel));
  reset_->setAccessibleName(text(line.label) + QStringLiteral(": ") + text(line.resetLabel));
}

void SettingRowView::showWords(const SettingsLine& line) {
  label_->setText(text(line.label));
  if (isFolder_ || line.control == SettingControl::picture) {
    explanation_->setPath(text(line.explanation));
  } else {
    explanation_->setText(text(line.explanation));
  }
  explanation_->setVisible(!line.explanation.empty());
  // A listening field has its remark below it.
  const std::string& remark = line.control == SettingControl::shortcut
                                  ? (line.field.isListening ? std::string() : line.field.remark)
                                  : line.remark;
  remark_->setRole(line.isWarning ? &PaletteRoles::warning : &PaletteRoles::text);
  remark_->setText(text(remark));
  remark_->setVisible(!remark.empty());
}

void SettingRowView::showShortcut(const SettingsLine& line) {
  field_->setAccessibleName(text(line.label));
  field_->setField(line.field);
  const bool asks = line.field.isListening && !line.field.remark.empty();
  questionWords_->setText(text(line.field.remark));
  useItHere_->setVisible(line.field.isTaken);
  cancel_->setVisible(line.field.isTaken);
  question_->setVisible(asks);
}

void SettingRowView::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  arrange();
}

bool SettingRowView::event(QEvent* event) {
  if (event->type() == QEvent::LayoutRequest) arrange();
  return QWidget::event(event);
}

void SettingRowView::arrange() {
  const int control = std::max(side_->sizeHint().width(), resetSlot) + resetSlot + 2 * rowMargin +
                      2 * tokens::space12;
  const int least = std::max(leastLabel, leastLetters * fontMetrics().averageCharWidth());
  const auto direction =
      width() - control < least ? QBoxLayout::TopToBottom : QBoxLayout::LeftToRight;
  if (layout_->direction() != direction) layout_->setDirection(direction);
}

}  // namespace vantorel
