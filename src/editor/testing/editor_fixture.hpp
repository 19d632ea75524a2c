#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "editor/canvas_input.hpp"
#include "editor/editor_model.hpp"
#include "editor/testing/mixed_shapes.hpp"
#include "editor/testing/rough_text.hpp"

namespace vantorel {

/// An editor of a picture of 800 x 600 pixels, with hands on its canvas.
class EditorModelTest : public ::testing::Test {
 protected:
  EditorModelTest() { open({}); }

  void open(EditorDocument document, std::optional<CombineSpec> combine = {}) {
    reports.clear();
    EditorEvents events;
    events.report = [this](const std::string& line) { reports.push_back(line); };
    events.stylesChanged = [this](const ToolStyles& styles) { remembered = styles; };
    input.reset();
    model = std::make_unique<EditorModel>(
        EditorOpening{
            {800, 600}, std::move(document), std::move(combine), 2.0, {}, roughText, roughLayout},
        std::move(events));
    input = std::make_unique<CanvasInput>(*model, CanvasServices{});
  }

  void pointer(PointerPhase phase, Pt at) {
    input->handle(PointerEvent{phase, at, shift, command, clicks, 6});
  }
  void drag(Pt from, Pt to) {
    pointer(PointerPhase::press, from);
    pointer(PointerPhase::move, {(from.x + to.x) / 2, (from.y + to.y) / 2});
    pointer(PointerPhase::move, to);
    pointer(PointerPhase::release, to);
  }
  void click(Pt at) {
    pointer(PointerPhase::press, at);
    pointer(PointerPhase::release, at);
  }
  bool key(EditorKey which) { return input->handle(KeyEvent{which, {}, shift, command}); }
  bool key(const char* text) {
    return input->handle(KeyEvent{EditorKey::character, text, shift, command});
  }
  const Shape& last() { return *model->state().shapes->back(); }
  Box frame(std::size_t layer) { return (*model->state().layers)[layer].frame; }
  std::string layerID(std::size_t layer) { return (*model->state().layers)[layer].id; }

  std::vector<std::string> reports;
  ToolStyles remembered;
  bool shift = false;
  bool command = false;
  int clicks = 1;
  std::unique_ptr<EditorModel> model;
  std::unique_ptr<CanvasInput> input;
};

}  // namespace vantorel
