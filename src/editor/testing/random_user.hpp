#pragma once

#include <random>
#include <string>
#include <utility>
#include <vector>

#include "editor/canvas_input.hpp"

namespace vantorel {

/// Plays random events on an editor: tools, drags that may be cancelled, interrupted or never end,
/// keys, typing with an input method, styles, the order of things, layers, canvas, and commands of
/// menus in the middle of all that.
class RandomUser {
 public:
  RandomUser(EditorModel& model, unsigned seed)
      : model_(model), random_(seed), input_(model, services()) {
    OCRBlock block;
    for (int i = 0; i < 5; ++i) {
      const float top = static_cast<float>(i) / 5;
      block.lines.push_back({"some words in a line", {0.1F, top, 0.8F, 0.15F, {}}, 1, {}});
    }
    input_.setRecognised(std::vector{block});
  }

  void act() {
    switch (number(0, 16)) {
      case 0: model_.pickTool(anyOf<Tool>()); return;
      case 1: pressKey(); return;
      case 2: model_.setText(number(0, 2) == 0 ? "" : "some\ntext"); return;
      case 3:
        model_.changeStyle([&](ToolStyle& style) {
          style.widthIdx = number(-1, 6);
          style.fill = FillStyle::tint;
          style.textStyle = TextStyle::label;
          style.redactStyle = anyOf<RedactStyle>();
        });
        return;
      case 4: changeLayers(); return;
      case 5: changeCanvas(); return;
      case 6:
        if (number(0, 1) == 0) model_.undo();
        if (number(0, 1) == 0) model_.redo();
        return;
      case 7:
      case 8: changeSelected(); return;
      case 9: type(); return;
      default: drag(); return;
    }
  }

  /// Whatever was under way is given up.
  void leave() { input_.cancel(); }

  [[nodiscard]] CanvasInput& input() { return input_; }

 private:
  int number(int least, int most) { return std::uniform_int_distribution(least, most)(random_); }
  Pt place() { return {number(-600, 8600) / 10.0, number(-500, 6500) / 10.0}; }
  bool maybe() { return number(0, 3) == 0; }
  template <class Enum>
  Enum anyOf() {
    return enumNames<Enum>[static_cast<std::size_t>(number(0, 999)) % enumNames<Enum>.size()].value;
  }

  CanvasServices services() {
    CanvasServices services;
    services.colorAt = [](Pt) { return std::optional<std::string>("#123456"); };
    services.copyShapes = [this](const std::string& shapes) { clipboard_ = shapes; };
    services.copiedShapes = [this] { return clipboard_; };
    return services;
  }

  void pressKey() {
    static const std::vector<std::string> letters{"z", "Z", "a", "c", "v", "x", "q",
                                                  "r", "h", "[", "]", "3", "é", "\U0001F600"};
    KeyEvent event;
    event.key = static_cast<EditorKey>(number(0, static_cast<int>(EditorKey::tab)));
    event.text = letters[static_cast<std::size_t>(number(0, 999)) % letters.size()];
    event.shift = maybe();
    event.alt = maybe();
    event.command = event.key == EditorKey::character && number(0, 1) == 0;
    input_.handle(event);
  }

  void drag() {
    PointerEvent event;
    event.at = place();
    if (number(0, 2) == 0) {
      const std::vector<ShapeHandle> handles = input_.handles();
      if (!handles.empty()) {
        event.at = handles[static_cast<std::size_t>(number(0, 999)) % handles.size()].at;
      }
    }
    event.shift = maybe();
    event.command = maybe();
    event.clicks = number(1, 3);
    static_cast<void>(input_.cursorAt(event));
    input_.handle(event);
    event.phase = PointerPhase::move;
    for (int i = number(0, 5); i > 0; --i) {
      event.at = place();
      input_.handle(event);
      static_cast<void>(input_.cursorAt(event));
      if (number(0, 20) == 0) pressKey();
      if (number(0, 20) == 0) interrupt();
    }
    if (number(0, 15) == 0) return;  // the release never comes
    event.phase = PointerPhase::release;
    input_.handle(event);
  }

  /// Commands of menus and panels come in the middle of a gesture too.
  void interrupt() {
    switch (number(0, 12)) {
      case 0: model_.pickTool(anyOf<Tool>()); return;
      case 1: model_.redo(); return;
      case 2: model_.deleteSelection(); return;
      case 3: model_.selectLayer(someLayer()); return;
      case 4: model_.select({}); return;
      case 5: changeLayers(); return;
      case 6: changeCanvas(); return;
      case 7: model_.beginText(place()); return;
      case 8: model_.selectAll(); return;
      case 9: type(); return;
      case 10: changeSelected(); return;
      case 11: model_.markSaved(model_.document()); return;
      default: model_.undo(); return;
    }
  }

  void changeSelected() {
    switch (number(0, 9)) {
      case 0: model_.bringForward(); return;
      case 1: model_.sendBackward(); return;
      case 2: model_.bringToFront(); return;
      case 3: model_.sendToBack(); return;
      case 4:
        if (model_.state().shapes->size() < 200) model_.duplicate();
        return;
      case 5: model_.resizeSelection(number(-20, 20), number(-20, 20)); return;
      case 6: model_.stepWidth(number(-1, 1)); return;
      case 7: model_.nudge(number(-5, 5), number(-5, 5)); return;
      default: model_.selectNext(maybe() ? -1 : 1); return;
    }
  }

  void type() {
    if (!model_.isTyping()) {
      if (number(0, 1) == 0) return;
      const auto& shapes = *model_.state().shapes;
      if (shapes.empty() || maybe()) {
        model_.beginText(place());
      } else {
        model_.editText(shapes[static_cast<std::size_t>(number(0, 999)) % shapes.size()]->id);
      }
    }
    static const std::vector<std::string> pieces{
        "a",     "b",    " ", "\n", "word", "é", "שלום", "e\u0301", "\U0001F469\u200D\U0001F680",
        "\r\nx", "\xff", "\t"};
    for (int i = number(1, 6); i > 0; --i) {
      const auto step = static_cast<CaretStep>(number(0, static_cast<int>(CaretStep::wordAfter)));
      const std::string& piece = pieces[static_cast<std::size_t>(number(0, 999)) % pieces.size()];
      switch (number(0, 9)) {
        case 0: model_.deleteText(step); break;
        case 1: model_.moveCaret(step, maybe()); break;
        case 2: model_.placeCaret(place(), maybe(), number(1, 3)); break;
        case 3: model_.setComposedText(piece, static_cast<std::size_t>(number(0, 9))); break;
        case 4: model_.selectAllText(); break;
        case 5: maybe() ? model_.redo() : model_.undo(); break;
        default: model_.insertText(piece); break;
      }
      if (maybe()) static_cast<void>(model_.textCaret());
    }
    if (maybe()) model_.cancelText();
    if (maybe()) model_.endText();
  }

  std::string someLayer() {
    const auto& layers = *model_.state().layers;
    return layers.empty() ? ""
                          : layers[static_cast<std::size_t>(number(0, 999)) % layers.size()].id;
  }

  void changeLayers() {
    switch (number(0, 10)) {
      case 0: model_.addLayers({{"/a.png", {300, 200}}, {"/b.png", {5000, 10}}}); return;
      case 1: model_.setLayerFrame(someLayer(), {place().x, place().y, 33.3, 44.4}); return;
      case 2: model_.moveLayerTo(someLayer(), static_cast<std::size_t>(number(0, 5))); return;
      case 3: model_.deleteLayer(someLayer()); return;
      case 4: model_.renameLayer(someLayer(), "Renamed"); return;
      case 5: model_.setLayerVisible(someLayer(), maybe()); return;
      case 6: model_.setLayerLocked(someLayer(), maybe()); return;
      case 7: model_.setLayerOpacity(someLayer(), number(0, 10) / 10.0); return;
      case 8:
        model_.setLayerBorder(someLayer(), LayerBorder{double(number(-1, 9)), "", {}});
        return;
      case 9: model_.pasteLayer({"/a.png", {300, 200}}, place()); return;
      default: model_.arrangeLayers(anyOf<CombineLayout>()); return;
    }
  }

  void changeCanvas() {
    switch (number(0, 5)) {
      case 0:
        model_.resizeCanvas(CanvasSize{double(number(0, 2000)), double(number(1, 2000))},
                            anyOf<CanvasAnchor>());
        return;
      case 1: model_.setCanvasColor(maybe() ? "#000000" : "#fafafa"); return;
      case 2: {
        BackgroundSpec background;
        background.paddingPercent = number(0, 12);
        background.cornerRadius = number(0, 40);
        background.shadow = maybe();
        if (maybe()) background.fill.value = BackgroundFill::Solid{"#ffcc00"};
        if (maybe()) background.fill.value = BackgroundFill::Gradient{"dusk"};
        model_.setBackground(background);
        return;
      }
      case 3: model_.setCropAspect(anyOf<CropAspect>()); return;
      case 4:
        model_.setPendingCrop(Box{double(number(-90, 400)), double(number(-90, 400)),
                                  double(number(0, 700)), double(number(0, 500))});
        model_.applyCrop();
        return;
      default: model_.removeCrop(); return;
    }
  }

  EditorModel& model_;
  std::mt19937 random_;
  std::string clipboard_;
  CanvasInput input_;
};

}  // namespace vantorel
