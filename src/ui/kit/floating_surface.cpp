#include "ui/kit/floating_surface.hpp"

#include <xcb/xcb.h>
#include <xcb/xfixes.h>

#include <QAbstractNativeEventFilter>
#include <QBitmap>
#include <QGuiApplication>
#include <QPainter>
#include <QTimer>
#include <functional>
#include <utility>

#include "ui/kit/accessible_role.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr int shadowRoom = 36;

struct Shadow {
  int offset;
  int blur;
  int alpha;
};
constexpr Shadow wideShadow{12, 32, 102};
constexpr Shadow closeShadow{2, 6, 77};

/// Soft enough where it matters: rings that add up, each a pixel wider than the one before.
void paintShadow(QPainter& painter, const QRect& panel, int radius, const Shadow& shadow) {
  painter.setBrush(Qt::NoBrush);
  const int reach = shadow.blur / 2 + shadow.blur / 4;
  for (int ring = reach; ring >= 0; --ring) {
    const double part = 1 - double(ring) / (reach + 1);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0, 0, 0, int(shadow.alpha * part * part * 2 / reach) + (ring == 0)));
    painter.drawRoundedRect(
        QRectF(panel).translated(0, shadow.offset).adjusted(-ring, -ring, ring, ring),
        radius + ring, radius + ring);
  }
}

}  // namespace

/// The toolkit asks the server to tell of compositors that come and go; this listens in.
class FloatingSurface::CompositorWatch : public QAbstractNativeEventFilter {
 public:
  explicit CompositorWatch(std::function<void()> changed) : changed_(std::move(changed)) {
    const auto* const x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (x11 == nullptr) return;
    const auto* const fixes = xcb_get_extension_data(x11->connection(), &xcb_xfixes_id);
    if (fixes == nullptr || fixes->present == 0) return;
    selectionEvent_ = fixes->first_event + XCB_XFIXES_SELECTION_NOTIFY;
    qGuiApp->installNativeEventFilter(this);
  }

  bool nativeEventFilter(const QByteArray& type, void* message, qintptr*) override {
    if (type != "xcb_generic_event_t") return false;
    const auto* const event = static_cast<const xcb_generic_event_t*>(message);
    if ((event->response_type & 0x7F) == selectionEvent_) changed_();
    return false;
  }

 private:
  std::function<void()> changed_;
  int selectionEvent_ = -1;
};

FloatingSurface::FloatingSurface(std::shared_ptr<NativeWindows> native, const QString& title,
                                 FloatingInput input)
    : native_(std::move(native)),
      input_(input),
      radius_(tokens::floatingRadius),
      isTranslucent_(native_->canBeTransparent()) {
  // Made for a window with the alpha channel from the start: another one could not get it later.
  // The toolkit makes a tooltip anew when it is first shown, under another number, unless it was
  // to stay on top from the start.
  setWindowFlags(Qt::FramelessWindowHint | Qt::WindowDoesNotAcceptFocus | Qt::ToolTip |
                 Qt::WindowStaysOnTopHint);
  setAttribute(Qt::WA_ShowWithoutActivating);
  setAttribute(Qt::WA_TranslucentBackground);
  setAccessibleRole(*this, QAccessible::Window);
  setWindowTitle(title);
  setAccessibleName(title);
  setFocusPolicy(Qt::NoFocus);
  native_->floatAboveAll(winId(), input_);
  // Posted: several selections change hands when one compositor replaces another.
  watch_ = std::make_unique<CompositorWatch>(
      [this] { QTimer::singleShot(0, this, [this] { compositorChanged(); }); });
}

FloatingSurface::~FloatingSurface() = default;

int FloatingSurface::shadowMargin() const { return isTranslucent_ ? shadowRoom : 0; }

QRect FloatingSurface::panelRect() const {
  const int margin = shadowMargin();
  return rect().adjusted(margin, margin, -margin, -margin);
}

void FloatingSurface::setPanelGeometry(const QRect& panel) {
  const int margin = shadowMargin();
  setGeometry(panel.adjusted(-margin, -margin, margin, margin));
}

QRect FloatingSurface::panelGeometry() const {
  const int margin = shadowMargin();
  return geometry().adjusted(margin, margin, -margin, -margin);
}

void FloatingSurface::setRadius(int radius) {
  radius_ = radius;
  applyMask();
  update();
}

void FloatingSurface::setClickThrough(bool isOn) {
  letsClicksThrough_ = isOn;
  applyMask();
}

void FloatingSurface::setPanelColor(const QColor& color) {
  panelColor_ = color;
  update();
}

QPainterPath FloatingSurface::panelPath() const {
  QPainterPath path;
  path.addRoundedRect(panelRect(), radius_, radius_);
  return path;
}

void FloatingSurface::compositorChanged() {
  const bool isTranslucent = native_->canBeTransparent();
  if (isTranslucent == isTranslucent_) return;
  const QRect panel = panelGeometry();
  isTranslucent_ = isTranslucent;
  setPanelGeometry(panel);
  applyMask();
  update();
}

void FloatingSurface::applyMask() {
  if (input_ == FloatingInput::all) {
    // The shadow lets clicks through to what lies below.
    const double ratio = devicePixelRatioF();
    const auto pixels = [ratio](int length) { return qRound(length * ratio); };
    const QRect panel = letsClicksThrough_ ? QRect() : panelRect();
    native_->setInputArea(winId(), {pixels(panel.x()), pixels(panel.y()), pixels(panel.width()),
                                    pixels(panel.height())});
  }
  if (isTranslucent_) return setMask(QRegion());
  QBitmap mask(size());
  mask.clear();
  QPainter painter(&mask);
  painter.setBrush(Qt::color1);
  painter.drawRoundedRect(QRectF(rect()).adjusted(0, 0, -1, -1), radius_, radius_);
  painter.end();
  setMask(mask);
}

void FloatingSurface::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  applyMask();
}

bool FloatingSurface::event(QEvent* event) {
  if (event->type() == QEvent::Show) compositorChanged();
  return QWidget::event(event);
}

void FloatingSurface::paintEvent(QPaintEvent*) {
  const FloatingColors& colors = floatingColors();
  QPainter painter(this);
  const QColor ground = panelColor_.isValid() ? panelColor_
                        : isTranslucent_      ? colors.panel
                                              : colors.opaquePanel;
  if (!isTranslucent_) {
    painter.fillRect(rect(), ground);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(colors.key, 1));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), radius_, radius_);
    return;
  }
  painter.setRenderHint(QPainter::Antialiasing);
  QPainterPath outside;
  outside.addRect(rect());
  painter.setClipPath(outside - panelPath());
  paintShadow(painter, panelRect(), radius_, wideShadow);
  paintShadow(painter, panelRect(), radius_, closeShadow);
  painter.setClipping(false);
  painter.fillPath(panelPath(), ground);
  paintPanelLine(painter, colors.innerLine);
}

void FloatingSurface::paintPanelLine(QPainter& painter, const QColor& color, double width) const {
  const double inset = width / 2;
  painter.setPen(QPen(color, width));
  painter.setBrush(Qt::NoBrush);
  painter.drawRoundedRect(QRectF(panelRect()).adjusted(inset, inset, -inset, -inset),
                          radius_ - inset, radius_ - inset);
}

}  // namespace vantorel
