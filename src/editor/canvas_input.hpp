#pragma once

#include <optional>
#include <string>
#include <vector>

#include "editor/editor_model.hpp"
#include "editor/text_selection.hpp"

namespace vantorel {

enum class PointerPhase { press, move, release };

/// One event of the pointer over the canvas.
struct PointerEvent {
  PointerPhase phase = PointerPhase::press;
  Pt at;  ///< canvas pixels
  bool shift = false;
  bool command = false;
  int clicks = 1;        ///< 2 for the press of a double click, 3 of a triple click
  double tolerance = 6;  ///< how near counts as on it, in canvas pixels: six view pixels
};

enum class EditorKey {
  character,
  backspace,
  escape,
  enter,
  left,
  right,
  up,
  down,
  del,
  home,
  end,
  tab,
};

/// One key that no text field took, and no input method.
struct KeyEvent {
  EditorKey key = EditorKey::character;
  std::string text;  ///< of `character`
  bool shift = false;
  bool command = false;
  bool alt = false;
  std::optional<Box> seen;  ///< the part of the canvas that is in view; none: all of it
};

/// What the pointer looks like. The resizing ones go along an axis or a diagonal: falling goes from
/// the top left to the bottom right.
enum class CanvasCursor {
  arrow,
  cross,
  text,
  move,
  resizeHorizontal,
  resizeVertical,
  resizeFalling,
  resizeRising,
  pick,
};

/// What the pointer is doing.
enum class GestureMode { none, draw, move, resize, endpoint, bow, marquee, layerMove, layerResize };

/// What the pointer does to the crop frame.
enum class CropMode { draw, move, resize };

/// A line that a moved layer has snapped to.
struct Guide {
  enum class Direction { vertical, horizontal };
  Direction direction = Direction::vertical;
  double position = 0;  ///< canvas pixels
  bool operator==(const Guide&) const = default;
};

/// What the eyedropper needs, and where copied text goes.
struct CanvasServices {
  /// The colour shown at a canvas pixel; none outside the picture.
  std::function<std::optional<std::string>(Pt)> colorAt = [](Pt) { return std::nullopt; };
  std::function<void(const std::string&)> copyText = [](const std::string&) {};
  std::function<void(const std::string&)> copyShapes = [](const std::string&) {};
  std::function<std::string()> copiedShapes = [] { return std::string(); };
  /// Whether the lines of copied recognised text are joined.
  std::function<bool()> joinsCopiedLines = [] { return false; };
};

/// Turns pointer and key events into edits of the model; a gesture is one undo step. Lives on the
/// main runner.
class CanvasInput {
 public:
  /// `model` outlives this.
  CanvasInput(EditorModel& model, CanvasServices services);

  void handle(const PointerEvent& event);

  /// True when the key meant something here. While a text is typed, it takes all that a text field
  /// would.
  bool handle(const KeyEvent& event);

  /// What the pointer looks like where it is.
  [[nodiscard]] CanvasCursor cursorAt(const PointerEvent& event) const;

  /// The shape that a click of the tool in hand would take at a place of the canvas; `tolerance` as
  /// in `PointerEvent`.
  [[nodiscard]] std::optional<std::string> shapeUnder(Pt canvas, double tolerance) const;

  /// The recognised text of the capture; none while it has not been read.
  void setRecognised(const std::optional<std::vector<OCRBlock>>& blocks);
  [[nodiscard]] const TextSelection& text() const { return text_; }

  /// The line below the canvas.
  [[nodiscard]] std::string hint() const;

  /// Ends the gesture as if it had not begun. One that was interrupted, by a command of a menu, has
  /// ended already.
  void cancel();

  [[nodiscard]] GestureMode mode() const { return mode_; }
  [[nodiscard]] std::optional<CropMode> cropMode() const { return cropMode_; }

  /// The rubber band, in canvas pixels.
  [[nodiscard]] const std::optional<Box>& marquee() const { return marquee_; }
  [[nodiscard]] const std::vector<Guide>& guides() const { return guides_; }

  /// The handles to be painted, in canvas pixels: of the single selected shape, of the text box
  /// being typed, of the selected layer or of the crop frame.
  [[nodiscard]] std::vector<ShapeHandle> handles() const;

 private:
  void press(const PointerEvent& event);
  void move(const PointerEvent& event);
  void release(const PointerEvent& event);
  void pressSelect(const PointerEvent& event);
  bool pressTextBox(const PointerEvent& event);
  void pressText(const PointerEvent& event);
  void pressSelectText(const PointerEvent& event);
  void markSelectedText(ShapeType type, const std::vector<Box>& boxes, std::string_view name);
  bool textKey(const KeyEvent& event);
  void pressCrop(const PointerEvent& event);
  bool pressHandle(const PointerEvent& event);
  [[nodiscard]] std::optional<ShapeHandle> handleAt(const PointerEvent& event) const;
  [[nodiscard]] const LayerSpec* layerUnder(Pt canvas) const;
  [[nodiscard]] bool isOnTextFrame(const PointerEvent& event) const;
  bool pressLayer(const PointerEvent& event);
  void startDrawing(ShapeType type, const PointerEvent& event);
  void draw(const PointerEvent& event);
  void finishDrawing(const PointerEvent& event);
  void moveShapes(const PointerEvent& event);
  void pullHandle(const PointerEvent& event);
  void moveLayer(const PointerEvent& event);
  void resizeLayer(const PointerEvent& event);
  void moveCrop(const PointerEvent& event);
  bool typingKey(const KeyEvent& event);
  bool typingCommand(const KeyEvent& event);
  bool arrowKey(const KeyEvent& event);
  bool placeShape(const KeyEvent& event);
  bool styleKey(const std::string& key);
  bool commandKey(const KeyEvent& event);
  bool escape();
  void end();

  [[nodiscard]] bool isInGesture() const { return mode_ != GestureMode::none || cropMode_; }
  [[nodiscard]] bool isInterrupted() const;
  void endIfInterrupted();
  [[nodiscard]] bool isCaptureShown() const;
  [[nodiscard]] Pt toCapture(Pt canvas) const { return model_.toCanvas().inverse()(canvas); }
  [[nodiscard]] double captureTolerance(const PointerEvent& event) const;
  [[nodiscard]] std::vector<double> guideLines(Guide::Direction direction) const;

  EditorModel& model_;
  CanvasServices services_;

  TextSelection text_;
  TextReading reading_ = TextReading::notRead;
  bool isSelectingText_ = false;
  bool isMarking_ = false;  // letters of the text being typed

  GestureMode mode_ = GestureMode::none;
  std::optional<CropMode> cropMode_;
  std::uint64_t interruptions_ = 0;  // of the model, when the gesture began
  Pt startCanvas_;
  Pt startCapture_;
  bool hasMoved_ = false;
  std::optional<ShapeHandle> handle_;     // the one being pulled, in capture pixels
  std::vector<Shape> startShapes_;        // those being changed, as they were
  Box startFrame_;                        // of the layer, the crop or the text box
  std::set<std::string> startSelection_;  // what a marquee adds to
  std::optional<Box> marquee_;
  std::vector<Guide> guides_;
};

}  // namespace vantorel
