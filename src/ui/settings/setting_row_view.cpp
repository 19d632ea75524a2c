#include "ui/settings/setting_row_view.hpp"

#include <QEvent>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QPainter>
#include <QPushButton>
#include <QToolButton>
#include <QVBoxLayout>
#include <utility>

#include "ui/kit/box_painting.hpp"
#include "ui/kit/busy_ring.hpp"
#include "ui/kit/icons.hpp"
#include "ui/kit/link_button.hpp"
#include "ui/kit/role_label.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr int rowMargin = 14;
constexpr int rowPadding = 7;
constexpr int leastLabel = 140;
constexpr int leastLetters = 20;  // of a label, where the font is large
constexpr int resetSlot = 24;
constexpr int mostLabelLines = 2;

QString text(const std::string& utf8) { return QString::fromStdString(utf8); }

/// Shows or hides it. The first time it makes room for itself, which it keeps: nothing moves when
/// it goes, perhaps under the pointer.
void setShown(QWidget& widget, bool isShown) {
  if (isShown) {
    QSizePolicy kept = widget.sizePolicy();
    kept.setRetainSizeWhenHidden(true);
    widget.setSizePolicy(kept);
  }
  widget.setVisible(isShown);
}

/// The ground of a remark or a question below its field.
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
      reset_(nullptr) {
  label_->setMostLines(mostLabelLines);
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
    if (line.control == SettingControl::text) addRemarkBox();
  }
  if (!line.button.empty()) addButton();
  // Made after what it resets, so that the keyboard comes to it after that.
  reset_ = new QToolButton(this);
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
  setLine(line);
}

void SettingRowView::addShortcut(const SettingsLine& line, PlainSymbol plainSymbol) {
  field_ = new ShortcutField(model_->recorder(), line.id, std::move(plainSymbol), side_);
  sideColumn_->addWidget(field_, 0, Qt::AlignTrailing);
  addRemarkBox();
  auto* const answers = new QHBoxLayout;
  answers->setContentsMargins(-tokens::space4, 0, 0, 0);
  answers->setSpacing(tokens::space8);
  useItHere_ = new LinkButton(QStringLiteral("Use it here"), box_);
  cancel_ = new LinkButton(QStringLiteral("Cancel"), box_);
  for (LinkButton* const button : {useItHere_, cancel_}) {
    button->setFocusPolicy(Qt::TabFocus);
    answers->addWidget(button);
  }
  answers->addStretch();
  static_cast<QVBoxLayout*>(box_->layout())->addLayout(answers);
  connect(useItHere_, &QPushButton::clicked, this, [this] { model_->recorder().useItHere(); });
  connect(cancel_, &QPushButton::clicked, this, [this] { model_->recorder().stop(); });
}

void SettingRowView::addRemarkBox() {
  box_ = new WarningBox(side_);
  box_->setFixedWidth(settingControlWidth);
  auto* const column = new QVBoxLayout(box_);
  column->setContentsMargins(10, 6, 10, 6);
  column->setSpacing(2);
  boxWords_ = new RoleLabel({}, &PaletteRoles::warning, tokens::smallFont, box_);
  column->addWidget(boxWords_);
  sideColumn_->addWidget(box_, 0, Qt::AlignTrailing);
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
    target->setAccessibleDescription(text(line.remark.empty() ? line.explanation : line.remark));
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
  // What is said of what is typed or pressed stands below its field.
  std::string remark = line.remark;
  std::string below;
  if (line.control == SettingControl::shortcut) {
    (line.field.isListening ? below : remark) = line.field.remark;
  } else if (box_ != nullptr) {
    below = std::exchange(remark, {});
  }
  // What goes keeps its words for as long as it keeps its room.
  if (box_ != nullptr) {
    if (!below.empty()) boxWords_->setText(text(below));
    setShown(*box_, !below.empty());
  }
  if (!remark.empty()) {
    remark_->setRole(line.isWarning ? &PaletteRoles::warning : &PaletteRoles::text);
    remark_->setText(text(remark));
  }
  setShown(*remark_, !remark.empty());
}

void SettingRowView::showShortcut(const SettingsLine& line) {
  field_->setAccessibleName(text(line.label));
  field_->setField(line.field);
  if (!line.field.isListening || line.field.remark.empty()) return;
  setShown(*useItHere_, line.field.isTaken);
  setShown(*cancel_, line.field.isTaken);
}

void SettingRowView::pointTo() {
  QWidget* target = field_ != nullptr ? field_ : editor_.widget;
  if (target == nullptr) target = button_;
  if (target == nullptr) return;
  window()->setAttribute(Qt::WA_KeyboardFocusChange);
  target->setFocus(Qt::TabFocusReason);
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
