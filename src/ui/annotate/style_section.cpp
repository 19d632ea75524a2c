#include "ui/annotate/style_section.hpp"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include "editor/crop_frame.hpp"
#include "ui/annotate/color_popover.hpp"
#include "ui/annotate/emoji_picker.hpp"
#include "ui/annotate/ink_swatches.hpp"
#include "ui/annotate/inspector_form.hpp"
#include "ui/annotate/segment_pictures.hpp"
#include "ui/annotate/small_button.hpp"
#include "ui/annotate/step_slider.hpp"
#include "ui/kit/segmented_control.hpp"

namespace vantorel {
namespace {

// As the editor calls them when they are no drag.
constexpr const char* colorStep = "Change Color";
constexpr const char* opacityStep = "Change Opacity";
constexpr const char* otherStep = "Change Style";
constexpr std::size_t mostSampled = 20;

QString percentWords(double part) { return QStringLiteral("%1 %").arg(qRound(part * 100)); }
QString pixelWords(double pixels) { return QStringLiteral("%1 px").arg(qRound(pixels)); }

}  // namespace

/// The rows and how each shows what the look is.
class StyleSection::Rows {
 public:
  Rows(const InspectedEditor& editor, InspectorForm* form) : editor_(editor), form_(form) {
    addColors();
    addWidths();
    addChoices();
    addForms();
    addRest();
  }

  void show(const ShownStyle& shown) {
    for (const auto& update : updates_) update(shown);
  }

 private:
  using Segment = SegmentedControl::Segment;

  [[nodiscard]] EditorModel& model() const { return *editor_.model; }

  template <class T>
  void changeStyle(std::optional<T> ToolStyle::* field, const T& value) {
    model().changeStyle([&](ToolStyle& style) { style.*field = value; });
  }

  template <class T>
  struct Choice {
    T value;
    Segment segment;
  };

  template <class T>
  SegmentedControl* addChoice(const QString& label, ShownValue<T> ShownStyle::* field,
                              std::vector<Choice<T>> choices, std::function<void(T)> choose) {
    std::vector<Segment> segments;
    std::vector<T> values;
    for (Choice<T>& choice : choices) {
      segments.push_back(std::move(choice.segment));
      values.push_back(choice.value);
    }
    auto* const control =
        new SegmentedControl(std::move(segments), form_, SegmentedControl::Size::small);
    form_->addRow(label, control);
    control->onChosen([values, choose = std::move(choose)](int index) {
      choose(values[static_cast<std::size_t>(index)]);
    });
    updates_.emplace_back([this, control, field, values](const ShownStyle& shown) {
      const ShownValue<T>& value = shown.*field;
      form_->setRowVisible(control, value.isThere);
      if (!value.isThere) return;
      form_->setRowMixed(control, value.isMixed);
      const auto found = std::ranges::find(values, value.value);
      control->setCurrent(
          value.isMixed || found == values.end() ? -1 : static_cast<int>(found - values.begin()));
    });
    return control;
  }

  template <class T>
  SegmentedControl* addStyleChoice(const QString& label, ShownValue<T> ShownStyle::* field,
                                   std::optional<T> ToolStyle::* inStyle,
                                   std::vector<Choice<T>> choices) {
    return addChoice<T>(label, field, std::move(choices),
                        [this, inStyle](T value) { changeStyle(inStyle, value); });
  }

  template <class T>
  StepSlider* addSlider(const QString& label, ShownValue<T> ShownStyle::* field,
                        StepSlider::Range range, std::function<QString(double)> words,
                        std::function<void(double)> move, const char* step = otherStep) {
    auto* const slider = new StepSlider(editor_.model, label, step, range, form_);
    slider->words = std::move(words);
    slider->onMoved = std::move(move);
    form_->addRow(label, slider);
    updates_.emplace_back([this, slider, field](const ShownStyle& shown) {
      const ShownValue<T>& value = shown.*field;
      form_->setRowVisible(slider, value.isThere);
      if (!value.isThere) return;
      slider->show(value.isMixed ? std::nullopt : std::optional(double(value.value)));
    });
    return slider;
  }

  /// Of what is typed or selected, nothing has a second line or a width to be aligned in.
  [[nodiscard]] bool isNothingToAlign() const {
    const auto isAligned = [](const Shape& text) {
      return text.boxWidth.has_value() || text.text.find('\n') != std::string::npos;
    };
    if (model().isTyping()) return !isAligned(*model().draft());
    const std::vector<Shape> selected = model().selectedShapes();
    return !selected.empty() && std::ranges::none_of(selected, isAligned);
  }

  void setColor(const std::string& color) {
    model().changeStyle([&](ToolStyle& style) { style.color = color; });
  }

  void addColors() {
    auto* const inks = new InkSwatches(QStringLiteral("Color"), InkSwatches::Last::custom, form_);
    inks->setFixedColors();
    inks->onPicked = [this](const QString& color) { setColor(color.toStdString()); };
    inks->onCustom = [this](QWidget* cell, const QString& color) {
      ColorPopover::open(editor_.model, colorStep, cell, color,
                         [this](const std::string& picked) { setColor(picked); });
    };
    form_->addWide(inks, InkSwatches::outset);
    auto* const sampled =
        new InkSwatches(QStringLiteral("Sampled"), InkSwatches::Last::none, form_);
    sampled->setToolTip(QStringLiteral("Colors the eyedropper picked up this session"));
    sampled->onPicked = [this](const QString& color) {
      if (model().selection().empty() && model().tool() == Tool::eyedropper) {
        editor_.copyText(model().addSampledColor(color.toStdString()));
      } else {
        setColor(color.toStdString());
      }
    };
    form_->addRow(QStringLiteral("Sampled"), sampled, InkSwatches::outset);
    updates_.emplace_back([this, inks, sampled](const ShownStyle& shown) {
      form_->setRowVisible(inks, shown.color.isThere);
      const auto color = shown.color.common();
      const auto current = color ? std::optional(QString::fromStdString(*color)) : std::nullopt;
      if (shown.color.isThere) inks->setCurrent(current);
      const auto& all = model().sampledColors();
      form_->setRowVisible(sampled,
                           !all.empty() && (shown.color.isThere || shown.colorFormat.isThere));
      std::vector<QString> latest;
      for (auto it = all.rbegin(); it != all.rend() && latest.size() < mostSampled; ++it) {
        latest.push_back(QString::fromStdString(*it));
      }
      sampled->setColors(latest);
      sampled->setCurrent(shown.color.isThere ? current.value_or(QString()) : QString());
    });
  }

  void addWidths() {
    using Painter = SegmentedControl::Picture (*)(int);
    const auto add = [this](const QString& label, WidthMeaning meaning, Painter picture) {
      std::vector<Segment> segments;
      for (int i = 0; i < static_cast<int>(strokeWidths.size()); ++i) {
        const QString size = QStringLiteral("%1 pt").arg(
            meaning == WidthMeaning::fontSize ? fontSizeFor(strokeWidth(i)) : strokeWidth(i));
        segments.push_back(
            {size, QStringLiteral("%1 ([ and ] change it)").arg(size), std::nullopt, picture(i)});
      }
      auto* const control =
          new SegmentedControl(std::move(segments), form_, SegmentedControl::Size::small);
      form_->addRow(label, control);
      control->onChosen([this](int index) {
        model().changeStyle([&](ToolStyle& style) { style.widthIdx = index; });
      });
      updates_.emplace_back([this, control, meaning](const ShownStyle& shown) {
        const bool isShown = shown.width.isThere && shown.widthMeaning == meaning;
        form_->setRowVisible(control, isShown);
        if (!isShown) return;
        form_->setRowMixed(control, shown.width.isMixed);
        control->setCurrent(shown.width.common().value_or(-1));
      });
    };
    add(QStringLiteral("Width"), WidthMeaning::line, widthPicture);
    add(QStringLiteral("Size"), WidthMeaning::fontSize, letterPicture);
    add(QStringLiteral("Size"), WidthMeaning::size, diskPicture);
  }

  static Segment named(const char* label) { return {QString::fromUtf8(label), {}, {}, {}}; }
  static Segment pictured(const char* label, SegmentedControl::Picture picture) {
    return {QString::fromUtf8(label), {}, {}, std::move(picture)};
  }

  void addChoices() {
    addStyleChoice<LineStyle>(
        QStringLiteral("Line"), &ShownStyle::lineStyle, &ToolStyle::lineStyle,
        {{LineStyle::solid, named("Solid")}, {LineStyle::dashed, named("Dashed")}});
    using Heads = ArrowHeadStyle;
    addStyleChoice<Heads>(QStringLiteral("Heads"), &ShownStyle::headStyle, &ToolStyle::headStyle,
                          {{Heads::end, pictured("At the end", headPicture(Heads::end))},
                           {Heads::headless, pictured("None", headPicture(Heads::headless))},
                           {Heads::both, pictured("At both ends", headPicture(Heads::both))}});
    auto* const tail = addStyleChoice<ArrowTailMarker>(
        QStringLiteral("Tail"), &ShownStyle::tailMarker, &ToolStyle::tailMarker,
        {{ArrowTailMarker::none, named("None")},
         {ArrowTailMarker::dot, named("Dot")},
         {ArrowTailMarker::ring, named("Ring")}});
    auto* const tailSize = addSlider<double>(
        QStringLiteral("Tail size"), &ShownStyle::tailScale, {0.5, 2, 0.1, 0.5},
        [](double value) { return QString::number(value, 'f', 1) + QStringLiteral("×"); },
        [this](double value) { changeStyle(&ToolStyle::tailScale, value); });
    updates_.emplace_back([this, tail, tailSize](const ShownStyle& shown) {
      const QString reason = shown.headStyle.common() == Heads::both
                                 ? QStringLiteral("An arrow with two heads has no tail")
                                 : QString();
      form_->setRowOff(tail, reason);
      form_->setRowOff(tailSize, reason);
      const bool hasTail =
          shown.tailMarker.isMixed || shown.tailMarker.value != ArrowTailMarker::none;
      if (!hasTail) form_->setRowVisible(tailSize, false);
    });
    addStyleChoice<FillStyle>(QStringLiteral("Fill"), &ShownStyle::fill, &ToolStyle::fill,
                              {{FillStyle::none, named("None")},
                               {FillStyle::solid, named("Solid")},
                               {FillStyle::tint, named("Tint")}});
    addSlider<double>(QStringLiteral("Corners"), &ShownStyle::cornerRadius, {0, 80, 1, 8},
                      pixelWords,
                      [this](double value) { changeStyle(&ToolStyle::cornerRadius, value); });
    addStyleChoice<TextStyle>(QStringLiteral("Style"), &ShownStyle::textStyle,
                              &ToolStyle::textStyle,
                              {{TextStyle::outline, named("Outline")},
                               {TextStyle::plain, named("Plain")},
                               {TextStyle::label, named("Label")}});
    auto* const align = addStyleChoice<TextAlign>(
        QStringLiteral("Align"), &ShownStyle::textAlign, &ToolStyle::textAlign,
        {{TextAlign::leading, pictured("Leading", alignPicture(TextAlign::leading))},
         {TextAlign::center, pictured("Center", alignPicture(TextAlign::center))},
         {TextAlign::trailing, pictured("Trailing", alignPicture(TextAlign::trailing))}});
    updates_.emplace_back([this, align](const ShownStyle& shown) {
      if (!shown.textAlign.isThere) return;
      form_->setRowOff(
          align, isNothingToAlign()
                     ? QStringLiteral(
                           "A single line is aligned when it has a width: drag one of its sides")
                     : QString());
    });
    addStyleChoice<RedactStyle>(QStringLiteral("Style"), &ShownStyle::redactStyle,
                                &ToolStyle::redactStyle,
                                {{RedactStyle::gaussianBlur, named("Blur")},
                                 {RedactStyle::pixelate, named("Pixelate")},
                                 {RedactStyle::solidBox, named("Solid")}});
  }

  void addForms() {
    std::vector<Segment> segments;
    std::vector<PolygonForm> forms;
    for (const auto& preset : enumNames<PolygonPreset>) {
      const PolygonForm form = polygonForm(preset.value);
      forms.push_back(form);
      segments.push_back({QString::fromStdString(polygonName(form)), {}, {}, polygonPicture(form)});
    }
    auto* const presets =
        new SegmentedControl(std::move(segments), form_, SegmentedControl::Size::small);
    presets->setAccessibleName(QStringLiteral("Form"));
    form_->addWide(presets);
    presets->onChosen([this, forms](int index) {
      const PolygonForm form = forms[static_cast<std::size_t>(index)];
      model().changeStyle([&](ToolStyle& style) {
        style.sides = form.sides;
        style.starInset = form.starInset;
      });
    });
    updates_.emplace_back([this, presets, forms](const ShownStyle& shown) {
      form_->setRowVisible(presets, shown.sides.isThere);
      const bool isMixed = shown.sides.isMixed || shown.starInset.isMixed;
      const auto found =
          std::ranges::find(forms, PolygonForm{shown.sides.value, shown.starInset.value});
      presets->setCurrent(
          isMixed || found == forms.end() ? -1 : static_cast<int>(found - forms.begin()));
    });
    addSlider<int>(
        QStringLiteral("Sides"), &ShownStyle::sides,
        {Shape::minimumSides, Shape::maximumSides, 1, 1},
        [](double value) { return QString::number(qRound(value)); },
        [this](double value) { changeStyle(&ToolStyle::sides, qRound(value)); });
    addSlider<double>(QStringLiteral("Star"), &ShownStyle::starInset,
                      {0, Shape::deepestStarInset, 0.01, 0.1}, percentWords,
                      [this](double value) { changeStyle(&ToolStyle::starInset, value); });
  }

  void addRest() {
    auto* const unit = addStyleChoice<MeasureUnit>(
        QStringLiteral("Unit"), &ShownStyle::measureUnit, &ToolStyle::measureUnit,
        {{MeasureUnit::px, named("px")}, {MeasureUnit::pt, named("pt")}});
    if (!model().captureScale()) {
      unit->setSegmentEnabled(1, false,
                              QStringLiteral("How many pixels make a point is not known"));
    }
    auto* const emoji = new SmallButton({}, form_);
    emoji->setFont(EmojiPicker::fontOf(17));
    emoji->setAccessibleName(QStringLiteral("Emoji"));
    emoji->setToolTip(QStringLiteral("Choose another emoji"));
    form_->addRow(QStringLiteral("Emoji"), emoji);
    QObject::connect(emoji, &QAbstractButton::clicked, emoji,
                     [this, emoji] { EmojiPicker::open(model(), emoji); });
    updates_.emplace_back([this, emoji](const ShownStyle& shown) {
      form_->setRowVisible(emoji, shown.emoji.isThere);
      if (!shown.emoji.isThere) return;
      const auto common = shown.emoji.common();
      emoji->setText(common ? QString::fromStdString(*common) : QStringLiteral("–"));
      emoji->setAccessibleDescription(common ? EmojiPicker::nameOf(emoji->text())
                                             : QStringLiteral("Mixed"));
    });
    addStyleChoice<ColorFormat>(
        QStringLiteral("Copies"), &ShownStyle::colorFormat, &ToolStyle::colorFormat,
        {{ColorFormat::hex, named("Hex")}, {ColorFormat::rgb, named("RGB")}});
    addChoice<CropAspect>(QStringLiteral("Aspect"), &ShownStyle::cropAspect,
                          {{CropAspect::free, named("Free")},
                           {CropAspect::square, named("Square")},
                           {CropAspect::fourByThree, named("4:3")},
                           {CropAspect::sixteenByNine, named("16:9")}},
                          [this](CropAspect aspect) { chooseCropAspect(model(), aspect); });
    auto* const removeCrop = new SmallButton(QStringLiteral("Remove Crop"), form_);
    form_->addWide(removeCrop);
    QObject::connect(removeCrop, &QAbstractButton::clicked, removeCrop,
                     [this] { model().removeCrop(); });
    updates_.emplace_back([this, removeCrop](const ShownStyle& shown) {
      form_->setRowVisible(removeCrop, shown.cropAspect.isThere && model().state().crop);
    });
    addSlider<double>(
        QStringLiteral("Opacity"), &ShownStyle::opacity, {0, 1, 0.01, 0.1}, percentWords,
        [this](double value) {
          model().changeStyle([&](ToolStyle& style) {
            style.opacity = value < 1 ? std::optional(value) : std::nullopt;
          });
        },
        opacityStep);
  }

  const InspectedEditor& editor_;
  InspectorForm* form_;
  std::vector<std::function<void(const ShownStyle&)>> updates_;
};

StyleSection::StyleSection(InspectedEditor editor, QWidget* parent)
    : InspectorSection(QStringLiteral("style"), true, parent), editor_(std::move(editor)) {
  auto* const form = new InspectorForm(this);
  addContent(form);
  rows_ = std::make_unique<Rows>(editor_, form);
}

StyleSection::~StyleSection() = default;

void StyleSection::refresh(bool mayComeOrGo) {
  const ShownStyle shown = shownStyle(*editor_.model);
  if (!mayComeOrGo && shown.title.empty() != isHidden()) return;
  setVisible(!shown.title.empty());
  if (shown.title.empty()) return;
  setTitle(QString::fromStdString(shown.title));
  rows_->show(shown);
}

}  // namespace vantorel
