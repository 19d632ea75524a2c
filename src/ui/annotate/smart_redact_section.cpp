#include "ui/annotate/smart_redact_section.hpp"

#include <QAccessible>
#include <QHBoxLayout>
#include <QToolButton>
#include <QVBoxLayout>
#include <algorithm>
#include <array>
#include <utility>

#include "app/annotate_model.hpp"
#include "app/redaction_switch.hpp"
#include "base/count_text.hpp"
#include "text/sensitive_words.hpp"
#include "ui/annotate/find_row.hpp"
#include "ui/annotate/inspector_form.hpp"
#include "ui/annotate/shown_name.hpp"
#include "ui/annotate/small_button.hpp"
#include "ui/annotate/tab_order.hpp"
#include "ui/kit/busy_ring.hpp"
#include "ui/kit/icons.hpp"
#include "ui/kit/role_label.hpp"
#include "ui/kit/segmented_control.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr std::array coverStyles{RedactStyle::gaussianBlur, RedactStyle::pixelate,
                                 RedactStyle::solidBox};

QString wordsOf(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

QHBoxLayout* inspectorRow(QWidget* widget) {
  auto* const row = new QHBoxLayout(widget);
  row->setContentsMargins(tokens::space16, 0, tokens::space16, 0);
  row->setSpacing(tokens::space8);
  return row;
}

}  // namespace

SmartRedactSection::SmartRedactSection(std::shared_ptr<AnnotateModel> model, QWidget* parent)
    : InspectorSection(QStringLiteral("smartRedact"), true, parent), model_(std::move(model)) {
  setTitle(QStringLiteral("Smart Redact"));
  auto* const close = new QToolButton;
  close->setIcon(icon(IconName::close));
  close->setIconSize(QSize(rowIconSize, rowIconSize));
  close->setFixedSize(tokens::hitArea, tokens::hitArea);
  close->setAutoRaise(true);
  close->setFocusPolicy(Qt::TabFocus);
  close->setAccessibleName(QStringLiteral("Close Smart Redact"));
  close->setToolTip(QStringLiteral("Close (Ctrl+R)"));
  connect(close, &QToolButton::clicked, this, [this] { session().close(); });
  setTrailing(close);
  addState();
  list_ = new QWidget(this);
  lines_ = new QVBoxLayout(list_);
  lines_->setContentsMargins(0, 0, 0, 0);
  lines_->setSpacing(0);
  addContent(list_);
  addStyle();
  addButtons();
  auto* const last = new QWidget(this);
  remark_ = new RoleLabel({}, &PaletteRoles::quiet, tokens::smallFont);
  inspectorRow(last)->addWidget(remark_);
  addContent(last);
  addKept();
}

SmartRedactSession& SmartRedactSection::session() const { return *model_->smartRedact(); }

/// Below all that is found: it is in the file already.
void SmartRedactSection::addKept() {
  kept_ = new QWidget(this);
  auto* const column = new QVBoxLayout(kept_);
  column->setContentsMargins(tokens::space16, tokens::space8, tokens::space16, 0);
  column->setSpacing(tokens::space8);
  keptWords_ = new RoleLabel({}, &PaletteRoles::text, tokens::bodyFont);
  switch_ = new SmallButton({});
  column->addWidget(keptWords_);
  column->addWidget(switch_, 0, Qt::AlignLeading);
  connect(switch_, &QPushButton::clicked, this, [this] { model_->switchRedaction(); });
  addContent(kept_);
}

void SmartRedactSection::showKept() {
  const auto kept = model_->keptRedaction();
  kept_->setVisible(kept.has_value());
  if (!kept) return;
  const QString areas = kept->areas == 1
                            ? QStringLiteral("1 area")
                            : QStringLiteral("%1 areas").arg(wordsOf(countText(kept->areas)));
  const QString covered = kept->areas == 0   ? QStringLiteral("Areas were covered")
                          : kept->areas == 1 ? areas + QStringLiteral(" was covered")
                                             : areas + QStringLiteral(" were covered");
  keptWords_->setText(
      kept->isCovering
          ? covered + QStringLiteral(" when the capture was taken.")
          : covered + QStringLiteral(" when the capture was taken, and uncovered since."));
  switch_->setText(
      QString::fromUtf8(kept->isCovering ? redaction_words::remove : redaction_words::reapply));
  switch_->setEnabled(!model_->isSwitchingRedaction());
  switch_->setToolTip(
      model_->isSwitchingRedaction() ? QStringLiteral("The capture is being changed.") : QString());
  switch_->updateGeometry();
}

void SmartRedactSection::addState() {
  state_ = new QWidget(this);
  auto* const row = inspectorRow(state_);
  busy_ = new BusyRing;
  words_ = new RoleLabel({}, &PaletteRoles::text, tokens::bodyFont);
  scan_ = new SmallButton({});
  row->addWidget(busy_);
  row->addWidget(words_, 1);
  row->addWidget(scan_);
  connect(scan_, &QPushButton::clicked, this, [this] {
    const bool isScanning = session().stage() == SmartRedactSession::Stage::scanning;
    isScanning ? session().cancel() : session().scanAgain();
  });
  addContent(state_);
}

void SmartRedactSection::addStyle() {
  form_ = new InspectorForm(this);
  style_ = new SegmentedControl({{QStringLiteral("Blur"), {}, {}},
                                 {QStringLiteral("Pixelate"), {}, {}},
                                 {QStringLiteral("Solid"), {}, {}}},
                                form_, SegmentedControl::Size::small);
  style_->onChosen(
      [this](int index) { session().setStyle(coverStyles[static_cast<std::size_t>(index)]); });
  form_->addRow(QStringLiteral("Style"), style_);
  addContent(form_);
}

void SmartRedactSection::addButtons() {
  buttons_ = new QWidget(this);
  auto* const row = inspectorRow(buttons_);
  redact_ = new SmallButton({});
  redact_->setDefault(true);
  again_ = new SmallButton(QStringLiteral("Scan Again"));
  row->addWidget(redact_);
  row->addWidget(again_);
  row->addStretch(1);
  connect(redact_, &QPushButton::clicked, this, [this] { model_->redactFinds(); });
  connect(again_, &QPushButton::clicked, this, [this] { session().scanAgain(); });
  addContent(buttons_);
}

void SmartRedactSection::refresh() {
  const bool isOpen = session().isOpen();
  setVisible(isOpen);
  if (!isOpen) {
    busy_->setBusy(false);
    said_.clear();
    if (std::exchange(pointed_, std::nullopt) && onPointed) onPointed({});
    return;
  }
  showFinds();
  showState();
  showKept();
}

void SmartRedactSection::showState() {
  using Stage = SmartRedactSession::Stage;
  const SmartRedactSession& now = session();
  const bool isScanning = now.stage() == Stage::scanning;
  const bool hasFinds = !shown_.empty();
  const QString status = QString::fromStdString(now.status());
  busy_->setVisible(isScanning);
  busy_->setBusy(isScanning);
  words_->setText(status);
  scan_->setText(isScanning                   ? QStringLiteral("Stop")
                 : now.stage() == Stage::idle ? QStringLiteral("Scan")
                                              : QStringLiteral("Scan Again"));
  scan_->updateGeometry();
  state_->setVisible(!status.isEmpty());
  list_->setVisible(hasFinds);
  form_->setVisible(hasFinds);
  // Whoever has covered all of it by the keyboard stays here.
  const bool losesFocus = !hasFinds && (redact_->hasFocus() || again_->hasFocus());
  buttons_->setVisible(hasFinds);
  if (losesFocus) scan_->setFocus(Qt::OtherFocusReason);
  again_->setVisible(!isScanning);
  const auto style = std::ranges::find(coverStyles, now.style());
  style_->setCurrent(static_cast<int>(style - coverStyles.begin()));
  const int chosen = now.chosenFinds();
  redact_->setText(chosen > 0
                       ? QStringLiteral("Redact %1").arg(wordsOf(countText(std::uint64_t(chosen))))
                       : QStringLiteral("Redact"));
  redact_->setEnabled(chosen > 0);
  redact_->setToolTip(chosen > 0 ? QString() : QStringLiteral("Nothing is chosen"));
  redact_->updateGeometry();
  const QString remark = isScanning ? QString() : QString::fromStdString(now.remark());
  remark_->setText(remark);
  remark_->parentWidget()->setVisible(!remark.isEmpty());
  setFoldedWords(hasFinds ? wordsOf(countText(std::uint64_t(now.openFinds()))) : QString());

  // A scan takes a while, and the reader may be elsewhere.
  const QString said =
      hasFinds && !isScanning ? QStringLiteral("%1 found").arg(now.openFinds()) : status;
  if (std::exchange(said_, said) == said) return;
  words_->setAccessibleName(said);
  QAccessibleEvent alert(words_, QAccessible::Alert);
  QAccessible::updateAccessibility(&alert);
}

FindRow* SmartRedactSection::rowOf(const Line& line) {
  FindRow*& row = rows_[line];
  if (row != nullptr) return row;
  row = new FindRow(list_);
  row->onChosen = [this, line](bool isChosen) {
    line.find ? session().choose(*line.find, isChosen) : session().choose(line.kind, isChosen);
  };
  row->onFolded = [this, line](bool isFolded) {
    isFolded ? void(unfolded_.erase(line.kind)) : void(unfolded_.insert(line.kind));
    refresh();
  };
  row->onPointed = [this, line](bool isPointed) { pointed(line, isPointed); };
  return row;
}

/// What is listed still keeps its row, which may have the keyboard.
void SmartRedactSection::showFinds() {
  const SmartRedactSession& now = session();
  std::vector<Line> lines;
  for (const auto& group : now.groups()) {
    lines.push_back({group.kind, std::nullopt});
    if (!unfolded_.contains(group.kind)) continue;
    for (const std::size_t find : group.finds) lines.push_back({group.kind, find});
  }
  const bool isOther = std::exchange(generation_, now.generation()) != now.generation();
  if (lines != shown_ || isOther) {
    std::erase_if(rows_, [&](const auto& known) {
      const bool isGone =
          (isOther && known.first.find) || std::ranges::find(lines, known.first) == lines.end();
      if (!isGone) return false;
      if (pointed_ == known.first) pointed(known.first, false);
      known.second->onPointed = nullptr;
      lines_->removeWidget(known.second);
      known.second->hide();
      // It may be what calls.
      known.second->deleteLater();
      return true;
    });
    for (std::size_t i = 0; i < lines.size(); ++i) {
      FindRow* const row = rowOf(lines[i]);
      if (lines_->indexOf(row) == static_cast<int>(i)) continue;
      lines_->insertWidget(static_cast<int>(i), row);
      setTabOrder(i > 0 ? rows_[lines[i - 1]] : focusBefore(*list_), row);
    }
    shown_ = lines;
  }
  for (const auto& group : now.groups()) {
    const Qt::CheckState state = group.chosen == 0                    ? Qt::Unchecked
                                 : group.chosen == group.finds.size() ? Qt::Checked
                                                                      : Qt::PartiallyChecked;
    const bool isFolded = !unfolded_.contains(group.kind);
    rows_[Line{group.kind, std::nullopt}]->show({wordsOf(pluralName(group.kind)),
                                                 wordsOf(countText(group.finds.size())), state,
                                                 false, isFolded});
    if (isFolded) continue;
    int number = 0;
    for (const std::size_t index : group.finds) {
      const auto& find = now.finds()[index];
      ++number;
      const QString unnamed =
          QStringLiteral("%1 %2").arg(wordsOf(singularName(group.kind))).arg(number);
      rows_[Line{group.kind, index}]->show({shownName(find.text, unnamed),
                                            {},
                                            find.isChosen ? Qt::Checked : Qt::Unchecked,
                                            true,
                                            false});
    }
  }
}

void SmartRedactSection::pointed(const Line& line, bool isPointed) {
  if (!isPointed) {
    if (pointed_ != line) return;
    pointed_.reset();
    if (onPointed) onPointed({});
    return;
  }
  pointed_ = line;
  std::vector<Box> boxes;
  for (const auto& group : session().groups()) {
    if (group.kind != line.kind) continue;
    for (const std::size_t find : group.finds) {
      if (line.find && *line.find != find) continue;
      const auto& found = session().finds()[find].boxes;
      boxes.insert(boxes.end(), found.begin(), found.end());
    }
  }
  if (onPointed) onPointed(boxes);
}

}  // namespace vantorel
