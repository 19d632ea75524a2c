#pragma once

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/geometry.hpp"
#include "editor/canvas_size.hpp"
#include "editor/editor_snapshot.hpp"
#include "editor/hint_line.hpp"
#include "editor/layer_layout.hpp"
#include "editor/records/combine_spec.hpp"
#include "editor/shape_handles.hpp"
#include "editor/shape_styling.hpp"
#include "editor/text_editing.hpp"

namespace vantorel {

/// What the file chooser says when layers are added.
inline constexpr std::string_view layerChooserPrompt = "Choose images to add as layers.";

/// What the editor opens.
struct EditorOpening {
  PixelSize capture;  ///< the uncropped base image
  EditorDocument document;
  std::optional<CombineSpec> combine;  ///< of an old entry; used when there are no layers
  std::optional<double> captureScale;  ///< pixels per point
  ToolStyles styles;                   ///< as remembered by the settings
  MeasureText measureText;             ///< none: as `layOut` says
  LayOutText layOut;                   ///< none: typing has no caret
};

/// What the editor tells its window. None of them is called after the model is gone.
struct EditorEvents {
  std::function<void()> changed = [] {};                          ///< anything visible
  std::function<void(const std::string&)> report = [](auto&) {};  ///< a short line for the user
  std::function<void(const ToolStyles&)> stylesChanged = [](auto&) {};
};

/// An image file to be added as a layer.
struct LayerFile {
  std::string path;
  PixelSize pixels;
  std::string name{};  ///< empty: the file's
};

/// The edited document: tools and styles, shapes, selection, layers, canvas, undo. Knows no window
/// and no pixels. Shapes and crop are in pixels of the capture, layers in pixels of the canvas.
/// Lives on the main runner.
///
/// Every operation is one undo step, unless it changed nothing; those between `beginStep` and
/// `endStep` form one step together. An operation that cannot be done reports why and answers
/// false.
class EditorModel {
 public:
  using StyleDefaults = vantorel::StyleDefaults;

  EditorModel(EditorOpening opening, EditorEvents events);

  // The document.
  [[nodiscard]] const EditorSnapshot& state() const { return state_; }
  [[nodiscard]] EditorDocument document() const;

  /// What is to be painted: the document with the shape being drawn or typed, and with what an
  /// input method composes in it.
  [[nodiscard]] EditorDocument scene() const;

  /// The shapes of `scene`, shared: costs little, however many there are.
  [[nodiscard]] ShapeList sceneShapes() const;

  /// The document as it was opened.
  [[nodiscard]] EditorDocument baseline() const;

  [[nodiscard]] bool hasUnsavedChanges() const;
  [[nodiscard]] std::string unsavedChanges() const;

  /// `document` is the one in the library now.
  void markSaved(EditorDocument document);

  [[nodiscard]] PixelSize captureSize() const { return capture_; }
  [[nodiscard]] std::optional<double> captureScale() const { return captureScale_; }
  [[nodiscard]] CanvasSize canvasSize() const { return canvasSizeOf(*state_.canvas, capture_); }

  /// The part of the canvas that an export shows: the crop, or all of it.
  [[nodiscard]] PixelRect shownPart() const;

  /// From capture pixels to canvas pixels.
  [[nodiscard]] AxisMap toCanvas() const { return captureToCanvas(*state_.layers, capture_); }

  [[nodiscard]] Box frameOfShape(const Shape& shape) const {
    return selectionFrame(shape, measureText_);
  }
  [[nodiscard]] const MeasureText& measureText() const { return measureText_; }

  // Undo.
  /// Collects what follows into one step called `name`. A step already open is ended first.
  void beginStep(std::string name);
  void endStep();
  /// Gives back the state at `beginStep`.
  void cancelStep();
  [[nodiscard]] bool isInStep() const { return step_.has_value(); }
  /// Changes whenever what a gesture works on may have been taken from below it: by undo and redo,
  /// the pick of a tool, another step.
  [[nodiscard]] std::uint64_t interruptions() const { return interruptions_; }
  /// Changes the state as one step, or as part of the open one.
  bool edit(std::string_view name, const std::function<void(EditorSnapshot&)>& change);

  /// While a text is typed, both go through what was typed alone; while a shape is drawn, undo
  /// gives it up.
  bool undo();
  bool redo();
  [[nodiscard]] std::string undoName() const;
  [[nodiscard]] std::string redoName() const;

  // Tools and styles.
  [[nodiscard]] Tool tool() const { return tool_; }
  /// Ends typing, applies a pending crop and clears the selection. The crop tool starts from the
  /// crop there is.
  void pickTool(Tool tool);
  /// What the inspector shows: of the first selected shape, else of the tool.
  [[nodiscard]] ToolStyle style() const;
  /// Changes the selected shapes (or the text being typed) and what their tools remember; without
  /// a selection, what the current tool remembers.
  void changeStyle(const std::function<void(ToolStyle&)>& change);
  [[nodiscard]] std::string hint(TextReading reading, bool textSelected) const;

  /// A new shape of the tool's kind in its style, on the capture, not yet in the document.
  [[nodiscard]] Shape newShape(ShapeType type) const;

  /// By what widths and font sizes are multiplied.
  [[nodiscard]] double styleScale() const;
  /// The layer that takes what is drawn at a point of the capture: the selected one, where it is
  /// seen.
  [[nodiscard]] std::optional<std::string> layerAt(Pt at) const;

  /// The colours the eyedropper picked up in this session, oldest first.
  [[nodiscard]] const std::vector<std::string>& sampledColors() const { return sampledColors_; }
  /// Takes note of a sampled colour and gives the text to copy.
  std::string addSampledColor(const std::string& color);

  // Selection.
  [[nodiscard]] const std::set<std::string>& selection() const { return selection_; }
  void select(std::set<std::string> shapeIDs);
  void selectAll();
  [[nodiscard]] const LayerSpec* selectedLayer() const;
  void selectLayer(const std::optional<std::string>& layerID);
  [[nodiscard]] std::vector<Shape> selectedShapes() const;
  /// The name of a step that does `verb` to the selection: "Move Arrow".
  [[nodiscard]] std::string selectionStep(std::string_view verb) const;
  /// The next shown shape from front to back, or with -1 from back to front, round and round.
  void selectNext(int direction);
  /// Deletes the selected shapes, or the selected layer.
  bool deleteSelection();
  /// Moves the selection; nudges in a row form one step.
  void nudge(double dx, double dy);
  /// Makes each selected shape, or the selected layer, wider and higher; the top left corner, or
  /// the start of a line, stays. Those in a row form one step.
  void resizeSelection(double dw, double dh);
  /// Takes the width of the selected shapes or of the tool `by` steps along the widths there are.
  void stepWidth(int by);
  /// A copy of the selection, ten points further right and down, takes its place as the selection.
  bool duplicate();

  // The order of the selected shapes among all, or of the selected layer among layers.
  bool bringForward();
  bool sendBackward();
  bool bringToFront();
  bool sendToBack();

  /// The topmost visible shape at a point of the capture.
  [[nodiscard]] const Shape* shapeAt(Pt point, double tolerance) const;
  [[nodiscard]] bool isShown(const Shape& shape) const;
  /// The selected shapes as text for the clipboard; empty when nothing is selected.
  [[nodiscard]] std::string copiedShapes() const;
  bool pasteShapes(std::string_view text);

  // The shape being drawn.
  [[nodiscard]] const std::optional<Shape>& draft() const { return draft_; }
  void setDraft(std::optional<Shape> draft);
  /// The draft as it is painted: with what an input method composes in it.
  [[nodiscard]] Shape shownDraft() const;

  // Typing. The text box is the draft while it lasts.
  [[nodiscard]] bool isTyping() const { return typing_.has_value(); }
  void beginText(Pt at);
  bool editText(const std::string& shapeID);
  void setText(std::string text);
  /// Typed, committed by an input method, or pasted: takes the place of what is marked.
  void insertText(std::string_view text);
  /// Shows at the caret what an input method composes, with its caret at a byte of it; never part
  /// of the document. Empty ends it.
  void setComposedText(std::string_view text, std::size_t caret);
  /// Deletes what is marked, or from the caret to where the step leads: `letterBefore` is
  /// Backspace.
  void deleteText(CaretStep step);
  void moveCaret(CaretStep step, bool extends);
  /// Puts the caret at a point of the capture; two clicks mark a word, three a line.
  void placeCaret(Pt at, bool extends, int clicks);
  void selectAllText();
  /// Marks from byte `anchor` of what is typed to the caret at byte `caret`.
  void selectTyped(std::size_t anchor, std::size_t caret);
  /// Where the letters lie that are typed, in capture pixels; null while nothing is.
  [[nodiscard]] const TextGeometry* typedGeometry() const;
  [[nodiscard]] std::string selectedText() const;
  /// Where the caret and what is marked are painted, in capture pixels; none while nothing is
  /// typed.
  [[nodiscard]] std::optional<TextCaret> textCaret() const;
  /// Keeps what was typed; an empty text is no shape.
  void endText();
  void cancelText();

  // Layers. The layer that stands for the capture can be hidden, not deleted.
  /// The first with its middle at that point of the canvas, as far as it stays on it.
  bool addLayers(const std::vector<LayerFile>& files, std::optional<Pt> middle = {});
  /// Adds a picture with its middle at a point of the canvas.
  bool pasteLayer(const LayerFile& file, Pt middle);
  bool setLayerFrame(const std::string& layerID, const Box& frame);
  bool moveLayerTo(const std::string& layerID, std::size_t position);
  bool deleteLayer(const std::string& layerID);
  bool renameLayer(const std::string& layerID, const std::string& name);
  bool setLayerVisible(const std::string& layerID, bool visible);
  bool setLayerLocked(const std::string& layerID, bool locked);
  bool setLayerOpacity(const std::string& layerID, std::optional<double> opacity);
  bool setLayerBorder(const std::string& layerID, std::optional<LayerBorder> border);
  bool arrangeLayers(CombineLayout layout);

  // Canvas, crop and background.
  bool resizeCanvas(CanvasSize size, CanvasAnchor anchor);
  /// From the fields of the canvas-size sheet.
  bool resizeCanvas(std::string_view width, std::string_view height, CanvasAnchor anchor);
  bool setCanvasColor(const std::string& color);
  bool setBackground(const BackgroundSpec& background);
  /// The crop frame being drawn, in canvas pixels; not in the document before `applyCrop`.
  [[nodiscard]] const std::optional<Box>& pendingCrop() const { return pendingCrop_; }
  void setPendingCrop(std::optional<Box> crop);
  /// The document's crop in canvas pixels.
  [[nodiscard]] std::optional<Box> cropOnCanvas() const;
  [[nodiscard]] CropAspect cropAspect() const { return cropAspect_; }
  void setCropAspect(CropAspect aspect);
  /// Past the edge, the canvas grows. The whole canvas is no crop.
  bool applyCrop();
  bool removeCrop();

 private:
  struct OpenStep {
    EditorSnapshot before;
    std::string name;
    bool goesOn = false;  // a nudge, which the next one of the same name joins
  };
  struct Typing {
    std::optional<std::string> shapeID;  // of the shape being edited; none for a new one
    TextEditing editing;
  };
  enum class Order { forward, backward, front, back };

  void beginTyping(Shape text, std::optional<std::string> shapeID);
  void typed();
  [[nodiscard]] const TextGeometry* geometryOf(const Shape& text) const;
  void nudgeWith(const std::string& name, const std::function<void()>& change);
  bool reorder(Order order, std::string_view name);
  bool moveLayerTo(const std::string& layerID, std::size_t position, std::string_view name);
  [[nodiscard]] bool isStepPending() const { return step_ && step_->before != state_; }
  void stateReplaced();
  void ensureCaptureLayer(EditorSnapshot& state) const;
  void moveContent(EditorSnapshot& state, Pt shift) const;
  void settleRedactions(const EditorSnapshot& before, EditorSnapshot& state) const;
  void shareRedactions(EditorSnapshot& state) const;
  void placeLayers(EditorSnapshot& state,
                   const std::vector<std::pair<std::string, Box>>& frames) const;
  bool editLayer(const std::string& layerID, std::string_view name,
                 const std::function<void(LayerSpec&)>& change);
  bool applySize(CanvasSize size, CanvasAnchor anchor, std::string_view name);
  bool refuse(std::string_view why);

  PixelSize capture_;
  std::optional<double> captureScale_;
  LayOutText layOut_;
  MeasureText measureText_;
  EditorEvents events_;
  json::Extra documentExtra_;
  ToolStyles styles_;

  EditorSnapshot baseline_;
  EditorSnapshot state_;
  UndoHistory history_;
  std::optional<OpenStep> step_;
  std::uint64_t interruptions_ = 0;

  Tool tool_ = Tool::select;
  std::set<std::string> selection_;
  std::optional<std::string> selectedLayerID_;
  std::optional<Shape> draft_;
  std::optional<Typing> typing_;
  mutable Shape laidOut_;  // what `geometry_` is of
  mutable std::unique_ptr<TextGeometry> geometry_;
  std::optional<Box> pendingCrop_;
  CropAspect cropAspect_ = CropAspect::free;
  std::vector<std::string> sampledColors_;
};

}  // namespace vantorel
