#include "ui/annotate/background_section.hpp"

#include <QHBoxLayout>
#include <utility>
#include <variant>

#include "ui/annotate/background_fills.hpp"
#include "ui/annotate/color_popover.hpp"
#include "ui/annotate/ink_swatches.hpp"
#include "ui/annotate/inspector_form.hpp"
#include "ui/annotate/step_slider.hpp"
#include "ui/kit/accessible_role.hpp"
#include "ui/kit/toggle_switch.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr const char* backgroundStep = "Background";
constexpr double mostPadding = 20;   // percent
constexpr double mostRounding = 64;  // px

}  // namespace

BackgroundSection::BackgroundSection(InspectedEditor editor, QWidget* parent)
    : InspectorSection(QStringLiteral("background"), false, parent),
      editor_(std::move(editor)),
      form_(new InspectorForm(this)),
      fills_(new BackgroundFills(form_)),
      inks_(new InkSwatches(QStringLiteral("Background color"), InkSwatches::Last::custom, form_)),
      shadow_(new ToggleSwitch) {
  setTitle(QStringLiteral("Background"));
  addContent(form_);
  fills_->onPicked = [this](const BackgroundFill& fill) {
    change([&](BackgroundSpec& background) { background.fill = fill; });
  };
  form_->addWide(fills_, BackgroundFills::outset);
  inks_->setFixedColors();
  const auto setSolid = [this](const std::string& color) {
    change(
        [&](BackgroundSpec& background) { background.fill.value = BackgroundFill::Solid{color}; });
  };
  inks_->onPicked = [setSolid](const QString& color) { setSolid(color.toStdString()); };
  inks_->onCustom = [this, setSolid](QWidget* cell, const QString& color) {
    ColorPopover::open(editor_.model, backgroundStep, cell, color, setSolid);
  };
  form_->addWide(inks_, InkSwatches::outset);
  padding_ = addSlider(QStringLiteral("Padding"), mostPadding, &BackgroundSpec::paddingPercent,
                       QStringLiteral("%"));
  corners_ = addSlider(QStringLiteral("Corners"), mostRounding, &BackgroundSpec::cornerRadius,
                       QStringLiteral("px"));
  strength_ = new StepSlider(editor_.model, QStringLiteral("Shadow strength"), backgroundStep,
                             {0, 1, 0.01, 0.1});
  strength_->words = [](double value) { return QStringLiteral("%1 %").arg(qRound(value * 100)); };
  strength_->onMoved = [this](double value) {
    change([&](BackgroundSpec& background) { background.shadowStrength = value; });
  };
  shadow_->setAccessibleName(QStringLiteral("Shadow"));
  connect(shadow_, &QAbstractButton::clicked, this, [this](bool isOn) {
    change([&](BackgroundSpec& background) { background.shadow = isOn; });
  });
  shadowRow_ = new QWidget(form_);
  setAccessibleRole(*shadowRow_, QAccessible::Grouping);
  auto* const row = new QHBoxLayout(shadowRow_);
  row->setContentsMargins(0, 0, 0, 0);
  row->setSpacing(tokens::space4);
  row->addWidget(shadow_);
  row->addWidget(strength_, 1);
  form_->addRow(QStringLiteral("Shadow"), shadowRow_);
}

StepSlider* BackgroundSection::addSlider(const QString& label, double most,
                                         double BackgroundSpec::* value, const QString& unit) {
  auto* const slider = new StepSlider(editor_.model, label, backgroundStep, {0, most, 1, 4}, form_);
  slider->words = [unit](double shown) {
    return QStringLiteral("%1 %2").arg(qRound(shown)).arg(unit);
  };
  slider->onMoved = [this, value](double moved) {
    change([&](BackgroundSpec& background) { background.*value = moved; });
  };
  form_->addRow(label, slider);
  return slider;
}

void BackgroundSection::change(const std::function<void(BackgroundSpec&)>& change) {
  BackgroundSpec background = *editor_.model->state().background;
  change(background);
  editor_.model->setBackground(background);
}

void BackgroundSection::refresh() {
  const BackgroundSpec& background = *editor_.model->state().background;
  const auto* const solid = std::get_if<BackgroundFill::Solid>(&background.fill.value);
  if (solid != nullptr) solid_ = solid->color;
  fills_->setCurrent(background.fill, solid_);
  form_->setRowVisible(inks_, solid != nullptr);
  inks_->setCurrent(QString::fromStdString(solid_));
  // Without a fill there is no frame for them.
  const bool hasFrame = !std::holds_alternative<BackgroundFill::None>(background.fill.value);
  for (QWidget* const row :
       {static_cast<QWidget*>(padding_), static_cast<QWidget*>(corners_), shadowRow_}) {
    form_->setRowVisible(row, hasFrame);
  }
  padding_->show(background.paddingPercent);
  corners_->show(background.cornerRadius);
  shadow_->setChecked(background.shadow);
  strength_->show(background.shadowStrength);
  strength_->setEnabled(background.shadow);
}

}  // namespace vantorel
