#include "ui/annotate/canvas_accessible.hpp"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QApplication>
#include <map>
#include <utility>

#include "editor/tool_spec.hpp"
#include "ui/annotate/annotate_canvas.hpp"

namespace vantorel {
namespace {

class CanvasAccessible;

/// One shape, by its id: its place in the document may change.
class ShapeAccessible : public QAccessibleInterface, public QAccessibleActionInterface {
 public:
  ShapeAccessible(CanvasAccessible& canvas, std::string id) : canvas_(canvas), id_(std::move(id)) {}

  [[nodiscard]] const std::string& id() const { return id_; }
  [[nodiscard]] const Shape* shape() const;
  [[nodiscard]] bool isValid() const override { return shape() != nullptr; }
  [[nodiscard]] QObject* object() const override { return nullptr; }
  [[nodiscard]] QWindow* window() const override;
  [[nodiscard]] QAccessibleInterface* parent() const override;
  [[nodiscard]] QAccessibleInterface* child(int) const override { return nullptr; }
  [[nodiscard]] QAccessibleInterface* childAt(int, int) const override { return nullptr; }
  [[nodiscard]] int childCount() const override { return 0; }
  [[nodiscard]] int indexOfChild(const QAccessibleInterface*) const override { return -1; }
  [[nodiscard]] QString text(QAccessible::Text what) const override {
    if (what != QAccessible::Name || shape() == nullptr) return {};
    return QString::fromStdString(spokenName(*shape()));
  }
  void setText(QAccessible::Text, const QString&) override {}
  [[nodiscard]] QRect rect() const override;
  [[nodiscard]] QAccessible::Role role() const override { return QAccessible::Graphic; }
  [[nodiscard]] QAccessible::State state() const override;
  void* interface_cast(QAccessible::InterfaceType type) override {
    return type == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface*>(this)
                                                : nullptr;
  }
  [[nodiscard]] QStringList actionNames() const override { return {pressAction()}; }
  void doAction(const QString& name) override;
  [[nodiscard]] QStringList keyBindingsForAction(const QString&) const override { return {}; }

 private:
  CanvasAccessible& canvas_;
  std::string id_;
};

class CanvasAccessible : public QAccessibleWidget {
 public:
  explicit CanvasAccessible(AnnotateCanvas* canvas)
      : QAccessibleWidget(canvas, QAccessible::Canvas), canvas_(canvas) {}
  ~CanvasAccessible() override {
    for (const auto& [id, item] : items_) QAccessible::deleteAccessibleInterface(item);
  }

  [[nodiscard]] AnnotateCanvas& canvas() const { return *canvas_; }
  [[nodiscard]] const EditorModel* editor() const {
    return canvas_->isReady() ? &canvas_->model().editor() : nullptr;
  }

  [[nodiscard]] int childCount() const override {
    return editor() == nullptr ? 0 : static_cast<int>(editor()->state().shapes->size());
  }
  /// Made once for each shape, and kept by the registry that deletes it.
  [[nodiscard]] QAccessibleInterface* child(int index) const override {
    if (index < 0 || index >= childCount()) return nullptr;
    return itemOf((*editor()->state().shapes)[static_cast<std::size_t>(index)]->id);
  }
  [[nodiscard]] QAccessibleInterface* itemOf(const std::string& id) const {
    const auto found = items_.find(id);
    if (found != items_.end()) return QAccessible::accessibleInterface(found->second);
    auto* const item = new ShapeAccessible(const_cast<CanvasAccessible&>(*this), id);
    items_.emplace(id, QAccessible::registerAccessibleInterface(item));
    return item;
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
    const auto* const item = dynamic_cast<const ShapeAccessible*>(child);
    return item == nullptr ? -1 : indexOf(item->id());
  }
  [[nodiscard]] QAccessibleInterface* childAt(int x, int y) const override {
    if (editor() == nullptr) return nullptr;
    const Pt canvas = canvas_->canvasAt(canvas_->mapFromGlobal(QPointF(x, y)));
    const Shape* const shape = editor()->shapeAt(editor()->toCanvas().inverse()(canvas), 1);
    return shape == nullptr ? nullptr : itemOf(shape->id);
  }
  [[nodiscard]] QAccessibleInterface* focusChild() const override {
    if (editor() == nullptr || !canvas_->hasFocus() || editor()->selection().size() != 1) {
      return nullptr;
    }
    return itemOf(*editor()->selection().begin());
  }

 private:
  AnnotateCanvas* canvas_;
  mutable std::map<std::string, QAccessible::Id> items_;
};

const Shape* ShapeAccessible::shape() const {
  return canvas_.editor() == nullptr ? nullptr : canvas_.editor()->state().find(id_);
}

QWindow* ShapeAccessible::window() const { return canvas_.window(); }

QAccessibleInterface* ShapeAccessible::parent() const { return &canvas_; }

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

void ShapeAccessible::doAction(const QString& name) {
  if (!isValid() || name != pressAction() || canvas_.canvas().isInGesture()) return;
  canvas_.canvas().model().editor().select({id_});
  canvas_.canvas().setFocus(Qt::OtherFocusReason);
}

QAccessibleInterface* makeCanvas(const QString&, QObject* object) {
  auto* const canvas = dynamic_cast<AnnotateCanvas*>(object);
  return canvas == nullptr ? nullptr : new CanvasAccessible(canvas);
}

}  // namespace

void installCanvasAccessibility() {
  // An application forgets its factories when it goes.
  constexpr const char* mark = "vantorelCanvasAccessible";
  if (qApp->property(mark).toBool()) return;
  qApp->setProperty(mark, true);
  QAccessible::installFactory(makeCanvas);
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
