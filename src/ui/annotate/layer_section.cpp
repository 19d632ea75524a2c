#include "ui/annotate/layer_section.hpp"

#include <cmath>
#include <utility>

#include "ui/annotate/color_popover.hpp"
#include "ui/annotate/ink_swatches.hpp"
#include "ui/annotate/inspector_form.hpp"
#include "ui/annotate/shown_name.hpp"
#include "ui/annotate/step_slider.hpp"

namespace vantorel {
namespace {

constexpr double widestOffered = 64;
constexpr double usualBorder = 4;

}  // namespace

LayerSection::LayerSection(InspectedEditor editor, QWidget* parent)
    : InspectorSection(QStringLiteral("layer"), true, parent), editor_(std::move(editor)) {
  auto* const form = new InspectorForm(this);
  addContent(form);
  opacity_ = new StepSlider(editor_.model, QStringLiteral("Opacity"), "Layer Opacity",
                            {0, 1, 0.01, 0.1}, form);
  opacity_->words = [](double value) { return QStringLiteral("%1 %").arg(qRound(value * 100)); };
  opacity_->onMoved = [this](double value) {
    if (const LayerSpec* const layer = editor_.model->selectedLayer()) {
      editor_.model->setLayerOpacity(std::string(layer->id),
                                     value < 1 ? std::optional(value) : std::nullopt);
    }
  };
  form->addRow(QStringLiteral("Opacity"), opacity_);
  border_ = new StepSlider(editor_.model, QStringLiteral("Border"), "Layer Border Width",
                           {0, widestOffered, 1, 4}, form);
  border_->words = [](double value) { return QStringLiteral("%1 px").arg(qRound(value)); };
  border_->onMoved = [this](double value) { setBorder(value); };
  form->addRow(QStringLiteral("Border"), border_);
  inks_ = new InkSwatches(QStringLiteral("Border color"), InkSwatches::Last::custom, form);
  inks_->setFixedColors();
  inks_->onPicked = [this](const QString& color) { setBorderColor(color.toStdString()); };
  inks_->onCustom = [this](QWidget* cell, const QString& color) {
    ColorPopover::open(editor_.model, "Layer Border Color", cell, color,
                       [this](const std::string& picked) { setBorderColor(picked); });
  };
  form->addWide(inks_, InkSwatches::outset);
}

void LayerSection::setBorder(double width) {
  const LayerSpec* const layer = editor_.model->selectedLayer();
  if (layer == nullptr) return;
  std::optional<LayerBorder> border;
  if (width > 0) {
    border = layer->border.value_or(LayerBorder{.width = 0, .color = color_, .extra = {}});
    border->width = width;
  }
  editor_.model->setLayerBorder(std::string(layer->id), border);
}

void LayerSection::setBorderColor(const std::string& color) {
  color_ = color;
  const LayerSpec* const layer = editor_.model->selectedLayer();
  if (layer == nullptr) return;
  LayerBorder border =
      layer->border.value_or(LayerBorder{.width = usualBorder, .color = {}, .extra = {}});
  border.color = color;
  editor_.model->setLayerBorder(std::string(layer->id), border);
}

void LayerSection::refresh() {
  const LayerSpec* const layer = editor_.model->selectedLayer();
  setVisible(layer != nullptr);
  if (layer == nullptr) return;
  const QString name = shownLayerName(editor_, *layer);
  setTitle(QStringLiteral("Layer “%1”").arg(isolated(name)));
  opacity_->show(layer->opacity.value_or(1));
  border_->show(layer->border ? layer->border->width : 0);
  if (layer->border) color_ = layer->border->color;
  inks_->setCurrent(layer->border ? QString::fromStdString(layer->border->color) : QString());
}

}  // namespace vantorel
