#include "ui/annotate/annotate_canvas.hpp"

#include <QAccessible>
#include <QApplication>
#include <QFile>
#include <QGuiApplication>
#include <QInputMethod>
#include <QMimeData>
#include <QPaintEvent>
#include <QPainter>
#include <QTimerEvent>
#include <QUrl>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

#include "editor/canvas_scene.hpp"
#include "ui/annotate/canvas_accessible.hpp"
#include "ui/annotate/sample_loupe.hpp"
#include "ui/kit/busy_ring.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/shared_image.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr int canvasMargin = tokens::space32;
constexpr double leastOpened = 0.25;  // zoom
constexpr double gridFrom = 8;        // zoom
constexpr double pixelsFrom = 2;      // from this zoom on pixels are squares

QPointF asPoint(Pt at) { return {at.x, at.y}; }

QRectF asRect(const Box& box) { return QRectF(box.x, box.y, box.w, box.h).normalized(); }

/// On a label they are white or black, as it is read better.
QColor inkOfLetters(const Shape& text) {
  const QColor ink(QString::fromStdString(text.color));
  if (text.textStyle != TextStyle::label) return ink;
  constexpr double readable = 4.5;
  return contrast(Qt::white, ink) >= readable ? Qt::white : Qt::black;
}

/// A part of the picture without a copy.
QImage partOf(const CanvasScene::Picture& picture, const QRect& part) {
  const std::uint8_t* const first = picture.pixels +
                                    static_cast<std::size_t>(part.y()) * picture.stride +
                                    static_cast<std::size_t>(part.x()) * 4;
  return {first, part.width(), part.height(), static_cast<qsizetype>(picture.stride),
          picture.isOpaque ? QImage::Format_RGB32 : QImage::Format_ARGB32_Premultiplied};
}

}  // namespace

AnnotateCanvas::AnnotateCanvas(std::shared_ptr<AnnotateModel> model, QWidget* parent)
    : QWidget(parent), model_(std::move(model)), loading_(new BusyRing(this)) {
  installCanvasAccessibility();
  setObjectName(QStringLiteral("canvas"));
  setAccessibleName(QStringLiteral("Canvas"));
  setAttribute(Qt::WA_OpaquePaintEvent);
  setAttribute(Qt::WA_KeyCompression, false);
  setFocusPolicy(Qt::StrongFocus);
  setMouseTracking(true);
  setAcceptDrops(true);
  setMinimumSize(160, 120);
  loading_->setAttribute(Qt::WA_TransparentForMouseEvents);
  loading_->setBusy(true);
  layOut();
  takeContent();
}

AnnotateCanvas::~AnnotateCanvas() = default;

// How it lies in the widget.

void AnnotateCanvas::layOut() {
  ratio_ = devicePixelRatioF();
  const PixelSize device{static_cast<int>(std::lround(width() * ratio_)),
                         static_cast<int>(std::lround(height() * ratio_))};
  view_.setView(device, canvasMargin * ratio_);
  if (isAsOpened_) showFirst();
}

/// All of it; of what is so long that nothing could be made out, the beginning.
void AnnotateCanvas::showFirst() {
  view_.fit();
  if (view_.zoom() >= leastOpened) return;
  const bool isTall = content_.h > content_.w;
  const double across = (isTall ? width() : height()) * ratio_ - 2 * canvasMargin * ratio_;
  const double zoom = std::min(1.0, across / (isTall ? content_.w : content_.h));
  if (zoom < view_.zoom() * 2) return;
  view_.setZoom(zoom, {0, 0});
  const Pt begin = view_.toView(isTall ? Pt{content_.x + content_.w / 2, content_.y}
                                       : Pt{content_.x, content_.y + content_.h / 2});
  const double margin = canvasMargin * ratio_;
  view_.pan((isTall ? width() * ratio_ / 2 : margin) - begin.x,
            (isTall ? margin : height() * ratio_ / 2) - begin.y);
}

/// What is shown lies where the pixels say, or, before they are there, where they will.
void AnnotateCanvas::takeContent() {
  if (isReady() && model_->scene().picture().pixels != nullptr) {
    content_ = model_->scene().covered();
    const Pt origin = model_->editor().toCanvas()(Pt{});
    const Pt shift =
        hasPixels_ ? Pt{origin.x - captureOrigin_.x, origin.y - captureOrigin_.y} : Pt{};
    captureOrigin_ = origin;
    hasPixels_ = true;
    loading_->hide();
    view_.setContent(content_, shift);
    if (isAsOpened_) showFirst();
    return;
  }
  PixelSize size = model_->pictureSize();
  if (size.width <= 0 || size.height <= 0) size = model_->preview().size();
  content_ = {0, 0, double(std::max(1, size.width)), double(std::max(1, size.height))};
  view_.setContent(content_);
  if (isAsOpened_) showFirst();
}

void AnnotateCanvas::refresh() {
  if (isReady()) {
    if (!hasPixels_) {
      scene_ = model_->scene().observe(
          [this](const CanvasScene::Change& change) { sceneChanged(change); });
      takeContent();
      if (hasPixels_) viewMoved();
    }
    if (isTyping() != wasTyping_) typingChanged();
    if (isTyping()) restartCaret();
    updateOverlay();
    updateCursor();
    if (QAccessible::isActive()) announceTyping(*this);
    announceSelection();
  } else {
    takeContent();
    update();
  }
  loading_->setVisible(!hasPixels_ && model_->stage() != AnnotateModel::Stage::failed);
  if (onHint) onHint();
}

void AnnotateCanvas::sceneChanged(const CanvasScene::Change& change) {
  if (change.isNew) {
    takeContent();
    viewMoved();
    return;
  }
  const int left = static_cast<int>(std::lround(content_.x));
  const int top = static_cast<int>(std::lround(content_.y));
  QRegion region;
  for (const PixelRect& area : change.areas) {
    const PixelRect device =
        view_.toViewOut({area.x + left, area.y + top, area.width, area.height});
    region += QRect(device.x, device.y, device.width, device.height);
  }
  updateDevice(region);
}

/// Everything is painted anew; gently first, while it moves.
void AnnotateCanvas::viewMoved() {
  if (isReady()) updateOverlay();
  update();
  if (isTyping()) QGuiApplication::inputMethod()->update(Qt::ImCursorRectangle);
  if (onViewChanged) onViewChanged();
}

void AnnotateCanvas::fit() {
  isAsOpened_ = false;
  view_.fit();
  viewMoved();
}

void AnnotateCanvas::setZoom(double zoom) { zoomTo(zoom, QPointF(width(), height()) * ratio_ / 2); }

void AnnotateCanvas::zoomIn() {
  isAsOpened_ = false;
  view_.zoomIn({width() * ratio_ / 2, height() * ratio_ / 2});
  viewMoved();
}

void AnnotateCanvas::zoomOut() {
  isAsOpened_ = false;
  view_.zoomOut({width() * ratio_ / 2, height() * ratio_ / 2});
  viewMoved();
}

QRectF AnnotateCanvas::areaOf(const Box& canvas) const {
  const QRectF device = asRect(view_.toView(canvas));
  return {device.topLeft() / ratio_, device.size() / ratio_};
}

Pt AnnotateCanvas::canvasAt(QPointF at) const {
  const QPointF device = toDevice(at);
  return view_.toCanvas({device.x(), device.y()});
}

QRect AnnotateCanvas::areaOfShape(const Shape& shape) const {
  const EditorModel& editor = model_->editor();
  const Box frame = editor.toCanvas()(editor.frameOfShape(shape));
  return areaOf(frame).toAlignedRect();
}

QPoint AnnotateCanvas::menuPlace() const {
  if (isReady()) {
    const std::vector<Shape> selected = model_->editor().selectedShapes();
    if (!selected.empty()) {
      return areaOfShape(selected.front()).intersected(rect()).center();
    }
  }
  return rect().center();
}

// What lies over it.

QPainterPath AnnotateCanvas::outlineOf(const Shape& shape) const {
  const EditorModel& editor = model_->editor();
  const AxisMap map = editor.toCanvas();
  const auto at = [&](Pt capture) { return asPoint(view_.toView(map(capture))); };
  const auto frame = [&](const Box& capture) { return asRect(view_.toView(map(capture))); };
  QPainterPath path;
  const auto line = [&](const std::vector<Pt>& points, bool isClosed) {
    for (std::size_t i = 0; i < points.size(); ++i) {
      i == 0 ? path.moveTo(at(points[i])) : path.lineTo(at(points[i]));
    }
    if (isClosed) path.closeSubpath();
  };
  switch (shape.type) {
    case ShapeType::arrow: {
      const ArrowCurve curve = arrowCurve(shape);
      path.moveTo(at(curve.start));
      path.quadTo(at(curve.control), at(curve.end));
      break;
    }
    case ShapeType::measure: line({{shape.x1, shape.y1}, {shape.x2, shape.y2}}, false); break;
    case ShapeType::pen:
    case ShapeType::highlighter: line(shape.points, false); break;
    case ShapeType::polygon: line(polygonVertices(shape), true); break;
    case ShapeType::ellipse:
    case ShapeType::counter: path.addEllipse(frame(editor.frameOfShape(shape))); break;
    case ShapeType::rect:
    case ShapeType::redact:
    case ShapeType::highlightRect:
    case ShapeType::text:
    case ShapeType::emoji: path.addRect(frame(editor.frameOfShape(shape))); break;
  }
  return path;
}

/// Of what is selected, where handles do not show it.
std::vector<QRectF> AnnotateCanvas::framesNow() const {
  const EditorModel& editor = model_->editor();
  std::vector<QRectF> frames;
  if (const LayerSpec* const layer = editor.selectedLayer();
      layer != nullptr && editor.tool() == Tool::select && editor.selection().empty()) {
    frames.push_back(asRect(view_.toView(layer->frame)));
    return frames;
  }
  if (editor.isTyping() || editor.draft() || editor.tool() == Tool::crop) return frames;
  const AxisMap map = editor.toCanvas();
  const bool isAlone = editor.selection().size() == 1;
  const QRectF seen(0, 0, width() * ratio_, height() * ratio_);
  for (const auto& shape : *editor.state().shapes) {
    if (!editor.selection().contains(shape->id)) continue;
    const bool isPlain = isLine(shape->type) || shape->type == ShapeType::rect ||
                         shape->type == ShapeType::redact ||
                         shape->type == ShapeType::highlightRect;
    if (isAlone && isPlain) continue;
    const QRectF frame = asRect(view_.toView(map(editor.frameOfShape(*shape))));
    if (frame.adjusted(-1, -1, 1, 1).intersects(seen)) frames.push_back(frame);
  }
  return frames;
}

CanvasOverlay AnnotateCanvas::overlayNow() const {
  const EditorModel& editor = model_->editor();
  const CanvasInput& input = model_->input();
  const AxisMap map = editor.toCanvas();
  const auto inView = [&](const Box& capture) { return asRect(view_.toView(map(capture))); };
  CanvasOverlay now;
  if (editor.tool() == Tool::selectText) {
    for (const Box& box : input.text().boxes()) now.selectedText.push_back(inView(box));
  }
  if (editor.tool() == Tool::crop && editor.pendingCrop()) {
    const CanvasSize canvas = editor.canvasSize();
    now.crop = CanvasOverlay::Crop{
        .frame = asRect(view_.toView(*editor.pendingCrop())),
        .canvas = asRect(view_.toView(Box{0, 0, canvas.width, canvas.height})),
        .canvasColor = QColor(QString::fromStdString(editor.state().canvas->backdropHex)),
        .hasThirds = input.cropMode().has_value()};
  }
  for (const ShapeHandle& handle : input.handles()) {
    using Knob = CanvasOverlay::Knob;
    const Knob knob = std::holds_alternative<BowHandle>(handle.kind)        ? Knob::bow
                      : std::holds_alternative<EndpointHandle>(handle.kind) ? Knob::round
                                                                            : Knob::square;
    now.handles.push_back({knob, asPoint(view_.toView(handle.at))});
  }
  now.frames = framesNow();
  if (input.marquee()) now.marquee = asRect(view_.toView(*input.marquee()));
  const QSizeF device = QSizeF(size()) * ratio_;
  for (const Guide& guide : input.guides()) {
    const bool isUpright = guide.direction == Guide::Direction::vertical;
    const QPointF at = asPoint(view_.toView(Pt{guide.position, guide.position}));
    now.guides.push_back(isUpright ? QLineF(at.x(), 0, at.x(), device.height())
                                   : QLineF(0, at.y(), device.width(), at.y()));
  }
  if (hovered_ && !isPressed_ && !isPanning_ && !editor.selection().contains(*hovered_)) {
    if (const Shape* const shape = editor.state().find(*hovered_)) now.hovered = outlineOf(*shape);
  }
  for (const Box& box : outlined_) now.finds.push_back(asRect(view_.toView(box)));
  if (editor.isTyping()) {
    CanvasOverlay::Typing typing;
    typing.frame = inView(editor.frameOfShape(editor.shownDraft()));
    typing.ink = inkOfLetters(*editor.draft());
    if (const auto caret = editor.textCaret()) {
      for (const Box& box : caret->selection) typing.selection.push_back(inView(box));
      for (const Box& box : caret->composed) typing.composed.push_back(inView(box));
      if (isCaretShown_ && hasFocus()) {
        typing.caret = inView(caret->caret);
        typing.caret.setWidth(1);
        // Where there is no letter yet there is a caret all the same.
        if (typing.frame.isEmpty()) typing.frame = typing.caret.adjusted(-2, 0, 2, 0);
      }
    }
    now.typing = std::move(typing);
  }
  return now;
}

void AnnotateCanvas::outline(std::vector<Box> boxes) {
  if (outlined_ == boxes) return;
  outlined_ = std::move(boxes);
  updateOverlay();
}

void AnnotateCanvas::updateOverlay() {
  if (!isReady()) return;
  CanvasOverlay now = overlayNow();
  updateDevice(overlay_.changedIn(now, ratio_));
  overlay_ = std::move(now);
  updateLoupe();
  const auto& pending = model_->editor().pendingCrop();
  const QRect crop = pending ? areaOf(*pending).toAlignedRect() : QRect();
  const QRect whole = areaOf(content_).toAlignedRect();
  if (crop == cropFrame_ && whole == cropWhole_) return;
  cropFrame_ = crop;
  cropWhole_ = whole;
  if (onCropMoved) onCropMoved(crop, whole);
}

/// The eyedropper's, beside the pointer.
void AnnotateCanvas::updateLoupe() {
  std::optional<Loupe> now;
  const EditorModel& editor = model_->editor();
  if (editor.tool() == Tool::eyedropper && hasPointer_ && hasPixels_ && !isPanning_) {
    const QRect view(QPoint(), (QSizeF(size()) * ratio_).toSize());
    const Pt pixel = view_.toCanvas({pointer_.x(), pointer_.y()});
    auto color = model_->scene().colorAt(pixel);
    if (color) color = colorText(*color, editor.style().colorFormat.value_or(ColorFormat::hex));
    now = sampleLoupe(pointer_.toPoint(), view, pixel, color, ratio_);
  }
  if (!now && !loupe_) return;
  QRegion region;
  if (loupe_) region += loupe_->area();
  if (now) region += now->area();
  loupe_ = std::move(now);
  updateDevice(region);
}

void AnnotateCanvas::updateDevice(const QRegion& region) {
  if (region.isEmpty()) return;
  constexpr int most = 24;  // parts that are cheaper to paint apart
  const auto logical = [&](const QRect& area) {
    return QRectF(QPointF(area.topLeft()) / ratio_, QSizeF(area.size()) / ratio_)
        .toAlignedRect()
        .adjusted(-1, -1, 1, 1);
  };
  if (region.rectCount() > most) return update(logical(region.boundingRect()));
  QRegion all;
  for (const QRect& area : region) all += logical(area);
  update(all);
}

// Painting, in device pixels.

QRect AnnotateCanvas::pictureArea() const {
  const QRectF area = asRect(view_.toView(content_));
  const QPoint from(static_cast<int>(std::lround(area.left())),
                    static_cast<int>(std::lround(area.top())));
  const QPoint to(static_cast<int>(std::lround(area.right())),
                  static_cast<int>(std::lround(area.bottom())));
  return {from, QSize(std::max(1, to.x() - from.x()), std::max(1, to.y() - from.y()))};
}

void AnnotateCanvas::paintPixels(QPainter& painter, const QRect& part) const {
  const double zoom = view_.zoom();
  const int halvings = zoom < 0.25 ? 2 : zoom < 0.5 ? 1 : 0;
  const CanvasScene::Picture picture = model_->scene().picture(halvings);
  if (picture.pixels == nullptr) return;
  const double scale = zoom * (1 << halvings);
  const QPointF corner = asPoint(view_.toView(Pt{content_.x, content_.y}));
  // Of large pictures the toolkit's coordinates know only a part: what is seen.
  const auto from = [&](double edge, double origin) {
    return std::max(0, static_cast<int>(std::floor((edge - origin) / scale)) - 2);
  };
  const auto to = [&](double edge, double origin, int length) {
    return std::min(length, static_cast<int>(std::ceil((edge - origin) / scale)) + 2);
  };
  const int left = from(part.left(), corner.x());
  const int top = from(part.top(), corner.y());
  const int right = to(part.right() + 1, corner.x(), picture.size.width);
  const int bottom = to(part.bottom() + 1, corner.y(), picture.size.height);
  if (right <= left || bottom <= top) return;
  const QImage pixels = partOf(picture, QRect(left, top, right - left, bottom - top));
  painter.save();
  if (picture.isOpaque) {
    painter.setCompositionMode(QPainter::CompositionMode_Source);
  } else {
    paintTransparency(painter, part, corner, ratio_);
  }
  painter.translate(corner.x() + left * scale, corner.y() + top * scale);
  if (scale != 1) {
    painter.setRenderHint(QPainter::SmoothPixmapTransform, !isMoving_ && scale < pixelsFrom);
    painter.scale(scale, scale);
  }
  painter.drawImage(QPoint(), pixels);
  painter.restore();
}

void AnnotateCanvas::paintPreview(QPainter& painter, const QRect& part) const {
  const QRect area = pictureArea();
  const PaletteRoles roles = rolesOf(palette());
  const Image& preview = model_->preview();
  if (preview.isEmpty()) return painter.fillRect(part, roles.base);
  painter.save();
  painter.setRenderHint(QPainter::SmoothPixmapTransform);
  painter.fillRect(part, roles.base);
  painter.drawImage(area, sharedImage(preview));
  painter.restore();
}

/// Lines between pixels.
void AnnotateCanvas::paintGrid(QPainter& painter, const QRect& part) const {
  const double zoom = view_.zoom();
  if (zoom < gridFrom * 0.999 || isMoving_) return;
  const QPointF corner = asPoint(view_.toView(Pt{content_.x, content_.y}));
  const QColor line(128, 128, 128, 90);
  const int width = std::max(1, static_cast<int>(ratio_));
  const auto first = [&](double edge, double origin) {
    return static_cast<int>(std::max(0.0, std::floor((edge - origin) / zoom)));
  };
  for (int x = first(part.left(), corner.x()); corner.x() + x * zoom <= part.right(); ++x) {
    painter.fillRect(QRect(static_cast<int>(std::lround(corner.x() + x * zoom)), part.top(), width,
                           part.height()),
                     line);
  }
  for (int y = first(part.top(), corner.y()); corner.y() + y * zoom <= part.bottom(); ++y) {
    painter.fillRect(QRect(part.left(), static_cast<int>(std::lround(corner.y() + y * zoom)),
                           part.width(), width),
                     line);
  }
}

void AnnotateCanvas::paintPart(QPainter& painter, const QRect& part) const {
  const PaletteRoles roles = rolesOf(palette());
  const QRect picture = pictureArea();
  const int line = std::max(1, static_cast<int>(std::lround(ratio_)));
  const QRect framed = picture.adjusted(-line, -line, line, line);
  for (const QRect& ground : QRegion(part).subtracted(picture)) {
    painter.fillRect(ground, roles.work);
    if (const QRect edge = ground & framed; !edge.isEmpty()) painter.fillRect(edge, roles.line);
  }
  const QRect seen = part & picture;
  if (seen.isEmpty()) return;
  if (!hasPixels_) return paintPreview(painter, seen);
  painter.setClipRect(seen);
  paintPixels(painter, seen);
  paintGrid(painter, seen);
  painter.setClipping(false);
}

/// At the edge, where it may lie over the picture.
void AnnotateCanvas::paintRing(QPainter& painter) const {
  const PaletteRoles roles = rolesOf(palette());
  const QRectF all(QPointF(), QSizeF(size()) * ratio_);
  const double line = tokens::focusRing * ratio_;
  painter.setBrush(Qt::NoBrush);
  painter.setPen(QPen(roles.focus, line, Qt::SolidLine, Qt::SquareCap, Qt::MiterJoin));
  painter.drawRect(all.adjusted(line / 2, line / 2, -line / 2, -line / 2));
  painter.setPen(QPen(roles.window, ratio_, Qt::SolidLine, Qt::SquareCap, Qt::MiterJoin));
  const double inner = line + ratio_ / 2;
  painter.drawRect(all.adjusted(inner, inner, -inner, -inner));
}

void AnnotateCanvas::showRing(bool isShown) {
  if (isRinged_ == isShown) return;
  isRinged_ = isShown;
  update();
}

void AnnotateCanvas::paintEvent(QPaintEvent* event) {
  if (ratio_ != devicePixelRatioF()) {
    layOut();
    overlay_ = isReady() ? overlayNow() : CanvasOverlay();
  }
  QPainter painter(this);
  painter.scale(1 / ratio_, 1 / ratio_);
  QRect exposed;
  for (const QRect& area : event->region()) {
    const QRect part =
        QRectF(QPointF(area.topLeft()) * ratio_, QSizeF(area.size()) * ratio_).toAlignedRect();
    paintPart(painter, part);
    exposed |= part;
  }
  if (!isReady() || !hasPixels_) return;
  overlay_.paint(painter, exposed, ratio_);
  if (loupe_) {
    const Pt pixel = view_.toCanvas({pointer_.x(), pointer_.y()});
    const Image pixels = model_->scene().loupe(pixel, loupePixels);
    paintSampleLoupe(painter, *loupe_, sharedImage(pixels));
  }
  if (isRinged_ || isDropTarget_) paintRing(painter);
}

void AnnotateCanvas::resizeEvent(QResizeEvent*) {
  QRect ring(QPoint(), loading_->sizeHint());
  ring.moveCenter(rect().center());
  loading_->setGeometry(ring);
  layOut();
  viewMoved();
}

void AnnotateCanvas::changeEvent(QEvent* event) {
  QWidget::changeEvent(event);
  if (event->type() == QEvent::PaletteChange) update();
}

void AnnotateCanvas::timerEvent(QTimerEvent* event) {
  if (event->timerId() == smooth_.timerId()) {
    smooth_.stop();
    isMoving_ = false;
    update();
  } else if (event->timerId() == edge_.timerId()) {
    moveByEdge();
  } else if (event->timerId() == caret_.timerId()) {
    isCaretShown_ = !isCaretShown_;
    updateOverlay();
  } else {
    QWidget::timerEvent(event);
  }
}

// Screen readers.

/// What the keyboard works on has their focus.
void AnnotateCanvas::announceSelection() {
  const auto& selection = model_->editor().selection();
  std::string alone = selection.size() == 1 ? *selection.begin() : std::string();
  if (alone == announced_) return;
  announced_ = std::move(alone);
  if (QAccessible::isActive() && hasFocus() && !announced_.empty()) {
    announceShape(*this, announced_);
  }
}

// Files from elsewhere.

void AnnotateCanvas::dragEnterEvent(QDragEnterEvent* event) {
  if (!isReady() || !event->mimeData()->hasUrls()) return event->ignore();
  // What is dragged out of this window is this picture.
  const auto* const from = qobject_cast<QWidget*>(event->source());
  if (from != nullptr && from->window() == window()) return event->ignore();
  const QList<QUrl> urls = event->mimeData()->urls();
  if (std::ranges::none_of(urls, &QUrl::isLocalFile)) return event->ignore();
  event->setDropAction(Qt::CopyAction);
  event->accept();
  showDropTarget(true);
}

void AnnotateCanvas::dragLeaveEvent(QDragLeaveEvent*) { showDropTarget(false); }

void AnnotateCanvas::showDropTarget(bool isShown) {
  if (isDropTarget_ == isShown) return;
  isDropTarget_ = isShown;
  update();
}

void AnnotateCanvas::dropEvent(QDropEvent* event) {
  showDropTarget(false);
  std::vector<Path> files;
  for (const QUrl& url : event->mimeData()->urls()) {
    if (url.isLocalFile()) files.emplace_back(QFile::encodeName(url.toLocalFile()).toStdString());
  }
  if (files.empty() || !isReady() || !onDropped) return event->ignore();
  event->setDropAction(Qt::CopyAction);
  event->accept();
  endGesture();
  onDropped(files, canvasAt(event->position()));
}

}  // namespace vantorel
