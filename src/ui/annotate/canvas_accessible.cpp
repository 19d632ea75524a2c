#include "ui/annotate/canvas_accessible.hpp"

#include <QAccessibleWidget>
#include <utility>

#include "editor/tool_spec.hpp"
#include "ui/annotate/annotate_canvas.hpp"
#include "ui/annotate/typed_text_accessible.hpp"

namespace vantorel {
namespace {

class CanvasAccessible;

/// One shape, by its id: its place in the document may change.
class ShapeAccessible : public PressableItem {
 public:
  ShapeAccessible(CanvasAccessible& canvas, std::string id);

  [[nodiscard]] const std::string& id() const { return id_; }
  [[nodiscard]] const Shape* shape() const;
  [[nodiscard]] bool isValid() const override { return shape() != nullptr; }
  [[nodiscard]] QString text(QAccessible::Text what) const override {
    if (what != QAccessible::Name || shape() == nullptr) return {};
    return QString::fromStdString(spokenName(*shape()));
  }
  [[nodiscard]] QRect rect() const override;
  [[nodiscard]] QAccessible::Role role() const override { return QAccessible::Graphic; }
  [[nodiscard]] QAccessible::State state() const override;

 protected:
  void press() override;

 private:
  CanvasAccessible& canvas_;
  std::string id_;
};

class CanvasAccessible : public QAccessibleWidget {
 public:
  explicit CanvasAccessible(AnnotateCanvas* canvas)
      : QAccessibleWidget(canvas, QAccessible::Canvas), canvas_(canvas) {}

  [[nodiscard]] AnnotateCanvas& canvas() const { return *canvas_; }
  [[nodiscard]] const EditorModel* editor() const {
    return canvas_->isReady() ? &canvas_->model().editor() : nullptr;
  }

  /// The shapes, and after them the text that is typed.
  [[nodiscard]] int childCount() const override { return shapeCount() + (isTyping() ? 1 : 0); }
  [[nodiscard]] QAccessibleInterface* child(int index) const override {
    if (index < 0 || index >= childCount()) return nullptr;
    if (index == shapeCount()) return &typedText();
    return itemOf((*editor()->state().shapes)[static_cast<std::size_t>(index)]->id);
  }
  [[nodiscard]] QAccessibleInterface* itemOf(const std::string& id) const {
    return items_.of(id,
                     [&] { return new ShapeAccessible(const_cast<CanvasAccessible&>(*this), id); });
  }
  [[nodiscard]] TypedTextAccessible& typedText() const {
    return static_cast<TypedTextAccessible&>(*typedText_.of(0, [&] {
      return new TypedTextAccessible(const_cast<CanvasAccessible&>(*this), *canvas_);
    }));
  }
  [[nodiscard]] int indexOf(const std::string& id) const {
    if (editor() == nullptr) return -1;
    const auto& shapes = *editor()->state().shapes;
    for (std::size_t i = 0; i < shapes.size(); ++i) {
      if (shapes[i]->id == id) return static_cast<int>(i);
    }
    return -1;
  }
  [[nodiscard]] int indexOfChild(const QAccessibleInterface* child) const override {
    if (dynamic_cast<const TypedTextAccessible*>(child) != nullptr) {
      return isTyping() ? shapeCount() : -1;
    }
    const auto* const item = dynamic_cast<const ShapeAccessible*>(child);
    return item == nullptr ? -1 : indexOf(item->id());
  }
  [[nodiscard]] QAccessibleInterface* childAt(int x, int y) const override {
    if (editor() == nullptr) return nullptr;
    if (isTyping() && typedText().rect().contains(x, y)) return &typedText();
    const Pt canvas = canvas_->canvasAt(canvas_->mapFromGlobal(QPointF(x, y)));
    const Shape* const shape = editor()->shapeAt(editor()->toCanvas().inverse()(canvas), 1);
    return shape == nullptr ? nullptr : itemOf(shape->id);
  }
  [[nodiscard]] QAccessibleInterface* focusChild() const override {
    if (isTyping() && canvas_->hasFocus()) return &typedText();
    if (editor() == nullptr || !canvas_->hasFocus() || editor()->selection().size() != 1) {
      return nullptr;
    }
    return itemOf(*editor()->selection().begin());
  }

 private:
  [[nodiscard]] bool isTyping() const { return editor() != nullptr && editor()->isTyping(); }
  [[nodiscard]] int shapeCount() const {
    return editor() == nullptr ? 0 : static_cast<int>(editor()->state().shapes->size());
  }

  AnnotateCanvas* canvas_;
  mutable AccessibleItems<std::string> items_;
  mutable AccessibleItems<int> typedText_;
};

ShapeAccessible::ShapeAccessible(CanvasAccessible& canvas, std::string id)
    : PressableItem(canvas), canvas_(canvas), id_(std::move(id)) {}

const Shape* ShapeAccessible::shape() const {
  return canvas_.editor() == nullptr ? nullptr : canvas_.editor()->state().find(id_);
}

QRect ShapeAccessible::rect() const {
  if (!isValid()) return {};
  const QRect area = canvas_.canvas().areaOfShape(*shape());
  return {canvas_.canvas().mapToGlobal(area.topLeft()), area.size()};
}

QAccessible::State ShapeAccessible::state() const {
  QAccessible::State state;
  if (!isValid()) {
    state.invalid = true;
    return state;
  }
  const EditorModel& editor = *canvas_.editor();
  state.focusable = true;
  state.selectable = true;
  state.multiSelectable = true;
  state.selected = editor.selection().contains(id_);
  state.focused = state.selected && editor.selection().size() == 1 && canvas_.canvas().hasFocus();
  state.invisible = !editor.isShown(*shape());
  if (!canvas_.canvas().rect().intersects(canvas_.canvas().areaOfShape(*shape()))) {
    state.offscreen = true;
  }
  return state;
}

void ShapeAccessible::press() {
  if (canvas_.canvas().isInGesture()) return;
  canvas_.canvas().model().editor().select({id_});
  canvas_.canvas().setFocus(Qt::OtherFocusReason);
}

QAccessibleInterface* makeCanvas(const QString&, QObject* object) {
  auto* const canvas = dynamic_cast<AnnotateCanvas*>(object);
  return canvas == nullptr ? nullptr : new CanvasAccessible(canvas);
}

}  // namespace

void installCanvasAccessibility() {
  installAccessibleFactory("vantorelCanvasAccessible", makeCanvas);
}

void announceTyping(AnnotateCanvas& canvas, void (*tell)(QAccessibleEvent*)) {
  auto* const seen =
      dynamic_cast<CanvasAccessible*>(QAccessible::queryAccessibleInterface(&canvas));
  if (seen != nullptr) seen->typedText().announce(tell);
}

void announceShape(AnnotateCanvas& canvas, const std::string& shapeID) {
  auto* const seen =
      dynamic_cast<CanvasAccessible*>(QAccessible::queryAccessibleInterface(&canvas));
  if (seen == nullptr) return;
  const int index = seen->indexOf(shapeID);
  if (index < 0) return;
  QAccessibleEvent event(&canvas, QAccessible::Focus);
  event.setChild(index);
  QAccessible::updateAccessibility(&event);
}

std::string spokenName(const Shape& shape) {
  std::string name(specOf(toolOf(shape.type)).label);
  if (shape.type == ShapeType::polygon) {
    name = polygonName({.sides = shape.sides.value_or(Shape::minimumSides),
                        .starInset = shape.starInset.value_or(0)});
  }
  if (!shape.text.empty()) {
    return shape.type == ShapeType::text ? name + " “" + shape.text + "”" : name + " " + shape.text;
  }
  if (shape.type == ShapeType::counter && shape.number) {
    name += " " + std::to_string(*shape.number);
  }
  return name;
}

}  // namespace vantorel
