#include "ui/annotate/step_slider.hpp"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QSlider>
#include <algorithm>
#include <cmath>
#include <utility>

#include "ui/kit/role_label.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

bool movesSlider(int key) {
  switch (key) {
    case Qt::Key_Left:
    case Qt::Key_Right:
    case Qt::Key_Up:
    case Qt::Key_Down:
    case Qt::Key_PageUp:
    case Qt::Key_PageDown:
    case Qt::Key_Home:
    case Qt::Key_End: return true;
    default: return false;
  }
}

}  // namespace

StepSlider::StepSlider(std::shared_ptr<EditorModel> model, const QString& name,
                       const std::string& step, Range range, QWidget* parent)
    : QWidget(parent),
      range_(range),
      slider_(new QSlider(Qt::Horizontal, this)),
      words_(new RoleLabel({}, &PaletteRoles::quiet, tokens::smallFont, this)),
      step_(std::move(model), step) {
  auto* const row = new QHBoxLayout(this);
  row->setContentsMargins(0, 0, 0, 0);
  row->setSpacing(tokens::space8);
  row->addWidget(slider_, 1);
  row->addWidget(words_);
  words_->setWordWrap(false);
  words_->setAlignment(Qt::AlignTrailing | Qt::AlignVCenter);
  slider_->setAccessibleName(name);
  slider_->setRange(positionOf(range.least), positionOf(range.most));
  slider_->setPageStep(std::max(1, static_cast<int>(std::lround(range.page / range.step))));
  slider_->installEventFilter(this);
  setAccessibleName(name);
  setFocusProxy(slider_);
  connect(slider_, &QSlider::sliderReleased, this, [this] { step_.end(); });
  connect(slider_, &QSlider::valueChanged, this, &StepSlider::moved);
}

int StepSlider::positionOf(double value) const {
  const double bounded = std::clamp(std::isfinite(value) ? value : 0, range_.least, range_.most);
  return static_cast<int>(std::lround(bounded / range_.step));
}

void StepSlider::moved(int position) {
  step_.carryOn();
  const double value = std::clamp(position * range_.step, range_.least, range_.most);
  writeWords(value);
  if (onMoved) onMoved(value);
}

void StepSlider::show(std::optional<double> value) {
  if (!step_.isOpen()) {
    const QSignalBlocker blocked(slider_);
    slider_->setValue(positionOf(value.value_or(range_.least)));
  }
  writeWords(value);
}

void StepSlider::writeWords(std::optional<double> value) {
  const QString text = value ? words(*value) : QStringLiteral("–");
  words_->setText(text);
  slider_->setAccessibleDescription(value ? text : QStringLiteral("Mixed"));
  // The room of the digits stays while they change.
  QString widest = words(range_.most);
  for (QChar& letter : widest) letter = letter.isDigit() ? QLatin1Char('0') : letter;
  const QFontMetrics metrics(words_->font());
  const int wide =
      std::max({44, metrics.horizontalAdvance(widest), metrics.horizontalAdvance(text)});
  if (words_->minimumWidth() != wide) words_->setFixedWidth(wide);
}

QSize StepSlider::sizeHint() const {
  return {tokens::space48 * 3, std::max(18, QFontMetrics(tokens::smallFont()).height() + 2)};
}

bool StepSlider::eventFilter(QObject* watched, QEvent* event) {
  switch (event->type()) {
    // The press itself may move it, before the slider tells of being held.
    case QEvent::MouseButtonPress:
      if (static_cast<QMouseEvent*>(event)->button() == Qt::LeftButton) step_.begin();
      break;
    case QEvent::KeyPress: {
      const auto* const key = static_cast<QKeyEvent*>(event);
      if (movesSlider(key->key()) && !slider_->isSliderDown() && !step_.isOpen()) step_.begin();
      break;
    }
    case QEvent::KeyRelease:
      if (!static_cast<QKeyEvent*>(event)->isAutoRepeat() && !slider_->isSliderDown()) step_.end();
      break;
    case QEvent::FocusOut:
    case QEvent::Hide:
    case QEvent::EnabledChange:
      if (event->type() == QEvent::Hide || !slider_->isSliderDown()) step_.end();
      break;
    // The wheel scrolls the inspector.
    case QEvent::Wheel: event->ignore(); return true;
    default: break;
  }
  return QWidget::eventFilter(watched, event);
}

}  // namespace vantorel
