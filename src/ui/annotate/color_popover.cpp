#include "ui/annotate/color_popover.hpp"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPainter>
#include <QRegularExpression>
#include <QSlider>
#include <QStyle>
#include <QStyleOptionSlider>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

#include "ui/annotate/ink_swatches.hpp"
#include "ui/kit/accessible_role.hpp"
#include "ui/kit/box_painting.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/role_label.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr QSize colorFieldSize(240, 132);
constexpr int hueCount = 360;

void paintKnob(QPainter& painter, const QPointF& at, const QColor& color, bool hasFocus) {
  painter.setBrush(color);
  painter.setPen(QPen(QColor(0, 0, 0, 150), 1));
  painter.drawEllipse(at, 8, 8);
  painter.setBrush(Qt::NoBrush);
  painter.setPen(QPen(Qt::white, hasFocus ? 3 : 2));
  painter.drawEllipse(at, 6.5, 6.5);
}

}  // namespace

QColor writtenColor(const QString& text) {
  static const QRegularExpression form(QStringLiteral("^\\s*#?([0-9a-f]{6}|[0-9a-f]{3})\\s*$"),
                                       QRegularExpression::CaseInsensitiveOption);
  const auto match = form.match(text);
  return match.hasMatch() ? QColor("#" + match.captured(1)) : QColor();
}

/// How strong and how bright the hue is.
class ColorPopover::Field : public QWidget {
 public:
  explicit Field(QWidget* parent) : QWidget(parent) {
    setFixedSize(colorFieldSize);
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::CrossCursor);
    setAccessibleRole(*this, QAccessible::ColorChooser);
    setAccessibleName(QStringLiteral("Strength and brightness"));
    setToolTip(QStringLiteral("Drag, or use the arrow keys"));
  }

  float hue = 0;
  float saturation = 0;
  float value = 0;
  std::function<void()> onChanged;

  [[nodiscard]] QColor color() const { return QColor::fromHsvF(hue, saturation, value); }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QLinearGradient strength(rect().topLeft(), rect().topRight());
    strength.setColorAt(0, Qt::white);
    strength.setColorAt(1, QColor::fromHsvF(hue, 1, 1));
    paintBox(painter, rect(), tokens::buttonRadius, strength, Qt::NoPen);
    QLinearGradient brightness(rect().topLeft(), rect().bottomLeft());
    brightness.setColorAt(0, QColor(0, 0, 0, 0));
    brightness.setColorAt(1, Qt::black);
    paintBox(painter, rect(), tokens::buttonRadius, brightness, Qt::NoPen);
    paintKnob(painter, {saturation * (width() - 1.0), (1 - value) * (height() - 1.0)}, color(),
              hasKeyboardFocus(*this));
  }
  void mousePressEvent(QMouseEvent* event) override { mouseMoveEvent(event); }
  void mouseMoveEvent(QMouseEvent* event) override {
    if (!event->buttons().testFlag(Qt::LeftButton)) return;
    set(static_cast<float>(event->position().x() / (width() - 1)),
        1 - static_cast<float>(event->position().y() / (height() - 1)));
  }
  void keyPressEvent(QKeyEvent* event) override {
    const float step = event->modifiers().testFlag(Qt::ShiftModifier) ? 0.1F : 0.01F;
    switch (event->key()) {
      case Qt::Key_Left: return set(saturation - step, value);
      case Qt::Key_Right: return set(saturation + step, value);
      case Qt::Key_Up: return set(saturation, value + step);
      case Qt::Key_Down: return set(saturation, value - step);
      default: QWidget::keyPressEvent(event);
    }
  }

 private:
  void set(float newSaturation, float newValue) {
    saturation = std::clamp(newSaturation, 0.0F, 1.0F);
    value = std::clamp(newValue, 0.0F, 1.0F);
    update();
    onChanged();
  }
};

class ColorPopover::Hue : public QSlider {
 public:
  explicit Hue(QWidget* parent) : QSlider(Qt::Horizontal, parent) {
    setRange(0, hueCount - 1);
    setPageStep(15);
    setAccessibleName(QStringLiteral("Hue"));
    setToolTip(QStringLiteral("Hue"));
    // Colors run the same way in every direction of writing.
    setLayoutDirection(Qt::LeftToRight);
  }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QLinearGradient rainbow(rect().topLeft(), rect().topRight());
    for (int i = 0; i <= 6; ++i) {
      rainbow.setColorAt(i / 6.0, QColor::fromHsv(std::min(i * 60, hueCount - 1), 255, 255));
    }
    const QRectF rail(0, height() / 2.0 - 5, width(), 10);
    paintBox(painter, rail, 5, rainbow, Qt::NoPen);
    QStyleOptionSlider option;
    initStyleOption(&option);
    const QRectF handle =
        style()->subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderHandle, this);
    paintKnob(painter, {handle.center().x(), height() / 2.0},
              QColor::fromHsv(QSlider::value(), 255, 255), hasKeyboardFocus(*this));
  }
};

void ColorPopover::open(const std::shared_ptr<EditorModel>& model, const std::string& step,
                        QWidget* anchor, const QString& color,
                        std::function<void(const std::string& color)> picked) {
  QColor start = writtenColor(color);
  if (!start.isValid()) start = Qt::white;
  auto* const popover = new ColorPopover(model, step, anchor, start, std::move(picked));
  popover->Popover::open();
}

ColorPopover::ColorPopover(const std::shared_ptr<EditorModel>& model, const std::string& step,
                           QWidget* anchor, const QColor& color,
                           std::function<void(const std::string&)> picked)
    : Popover(QStringLiteral("Color"), anchor),
      step_(model, step),
      picked_(std::move(picked)),
      field_(new Field(this)),
      hue_(new Hue(this)),
      text_(new QLineEdit(this)),
      last_(color.name()) {
  auto* const column = new QVBoxLayout(this);
  column->setContentsMargins(0, 0, 0, 0);
  column->setSpacing(tokens::space8);
  column->addWidget(field_);
  column->addWidget(hue_);
  auto* const row = new QHBoxLayout;
  row->setSpacing(tokens::space8);
  auto* const label =
      new RoleLabel(QStringLiteral("Hex"), &PaletteRoles::quiet, tokens::smallFont, this);
  label->setWordWrap(false);
  row->addWidget(label);
  row->addWidget(text_, 1);
  column->addLayout(row);
  text_->setAccessibleName(QStringLiteral("Hex"));
  text_->setMaxLength(16);
  text_->setLayoutDirection(Qt::LeftToRight);
  if (!model->sampledColors().empty()) {
    auto* const sampled = new InkSwatches(QStringLiteral("Sampled"), InkSwatches::Last::none, this);
    std::vector<QString> colors;
    for (auto it = model->sampledColors().rbegin(); it != model->sampledColors().rend(); ++it) {
      if (colors.size() < 9) colors.push_back(QString::fromStdString(*it));
    }
    sampled->setColors(colors);
    sampled->setToolTip(QStringLiteral("Colors the eyedropper picked up this session"));
    sampled->onPicked = [this](const QString& chosen) { take(QColor(chosen), Source::sample); };
    column->addWidget(sampled);
  }
  field_->onChanged = [this] { take(field_->color(), Source::field); };
  take(color, Source::sample);
  connect(hue_, &QSlider::valueChanged, this, [this](int hue) {
    field_->hue = static_cast<float>(hue) / hueCount;
    field_->update();
    take(field_->color(), Source::hue);
  });
  connect(text_, &QLineEdit::textEdited, this, [this](const QString& text) {
    if (const QColor written = writtenColor(text); written.isValid()) take(written, Source::text);
  });
  connect(text_, &QLineEdit::returnPressed, this, [this] { close(); });
  onClosed = [this] { step_.end(); };
  step_.begin();
  text_->selectAll();
  text_->setFocus();
}

/// What is typed writes the color, wherever the keyboard is: none of it picks tools.
void ColorPopover::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
    close();
    return;
  }
  const bool isWritten = !event->text().isEmpty() && event->text().front().isPrint();
  if (!isWritten) return Popover::keyPressEvent(event);
  if (text_->hasFocus()) return;
  text_->setFocus();
  text_->selectAll();
  QCoreApplication::sendEvent(text_, event);
}

void ColorPopover::take(const QColor& color, Source source) {
  if (source == Source::text || source == Source::sample) {
    // Grey has no hue of its own: what was dialed stays.
    if (color.hsvHueF() >= 0) field_->hue = color.hsvHueF();
    field_->saturation = color.hsvSaturationF();
    field_->value = color.valueF();
    field_->update();
    const QSignalBlocker blocked(hue_);
    hue_->setValue(qRound(field_->hue * hueCount) % hueCount);
    hue_->update();
  }
  if (source != Source::text) text_->setText(color.name());
  if (color.name() == last_) return;
  last_ = color.name();
  step_.carryOn();
  picked_(last_.toStdString());
}

}  // namespace vantorel
