#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "base/image.hpp"
#include "base/lifetime.hpp"
#include "base/observers.hpp"
#include "base/task_runner.hpp"
#include "editor/editor_model.hpp"
#include "editor/halved_picture.hpp"
#include "editor/layer_builds.hpp"
#include "platform/scene_view.hpp"

namespace vantorel {

/// The picture that the editor shows: its document drawn, with crop and background as an export
/// draws them, to the last bit. While the crop tool is in hand, all of the canvas instead. Shapes
/// are drawn on the main runner, where they change and nowhere else; what takes longer, layers, a
/// first drawing and backgrounds, is made in the background, and what was there stays to be seen
/// meanwhile. Lives on the main runner.
class CanvasScene {
 public:
  struct Services {
    std::shared_ptr<TaskRunner> main;
    std::shared_ptr<TaskRunner> work;
    SceneDrawing* drawing = nullptr;  ///< outlives the process's windows
    /// Called on `work`; once for each file, as long as its layer is in the document.
    ReadLayerPicture readLayer;
  };

  /// `model` outlives this; `base` is the capture.
  CanvasScene(Services services, const EditorModel& model, Image base);

  /// The capture is another picture, as large as the one before.
  void setBase(Image base);

  /// Brings the picture up to the model; to be called after each of its changes.
  void update();

  /// Pixels to be painted, blue, green, red, alpha, premultiplied. Valid until the next change.
  struct Picture {
    const std::uint8_t* pixels = nullptr;  ///< null before the first drawing has landed
    std::size_t stride = 0;
    PixelSize size;
    Pt origin;  ///< where its top left corner lies on the canvas
    bool isOpaque = true;
  };
  [[nodiscard]] Picture picture() const;

  /// The picture halved so often, each pixel the mean of four: 1 for zooms below 50 %, 2 below
  /// 25 %. Made when it is first asked for, and then followed where the picture changes.
  [[nodiscard]] Picture picture(int halvings) const;

  /// The part of the canvas that `picture` covers, in canvas pixels.
  [[nodiscard]] Box covered() const;

  struct Change {
    bool isNew = false;            ///< all of it, and it may lie elsewhere
    std::vector<PixelRect> areas;  ///< of `picture`
  };
  [[nodiscard]] Observation observe(std::function<void(const Change&)> changed) {
    return observers_.add(std::move(changed));
  }

  /// What is seen at a place of the canvas, "#rrggbb"; none outside, and where nothing is.
  [[nodiscard]] std::optional<std::string> colorAt(Pt canvas) const;

  /// `side` by `side` pixels with the one at `canvas` in the middle; transparent outside.
  [[nodiscard]] Image loupe(Pt canvas, int side) const;

  /// What is known of the layers, for the export's gate and the list of layers. Of one that is
  /// hidden, what was known when it was shown the last time.
  [[nodiscard]] LayersReport report() const;

  /// Reads the files of the layers again, which are not what they were.
  void readAgain();

 private:
  /// What a build of the layers follows from.
  struct Wanted {
    std::shared_ptr<const std::vector<LayerSpec>> layers;
    std::shared_ptr<const CanvasSpec> canvas;
    PixelRect part;

    [[nodiscard]] bool hasSameFiles(const Wanted& other) const;
    [[nodiscard]] std::optional<PixelRect> changesTo(const Wanted& next, PixelSize capture) const;
    bool operator==(const Wanted& other) const {
      return part == other.part && (layers == other.layers || *layers == *other.layers) &&
             (canvas == other.canvas || *canvas == *other.canvas);
    }
  };
  struct LayerPictures;
  struct Drawn {
    std::unique_ptr<SceneView> view;
    std::unique_ptr<FramedView> frame;
    std::shared_ptr<const BackgroundSpec> background;  // of `frame`
    std::vector<HalvedPicture> halves;
  };

  /// What is drawn on layers, and how.
  struct Look {
    AxisMap toPicture;            // from the capture
    std::optional<double> scale;  // pixels of the capture per point
    ShapeList shapes;
    std::shared_ptr<const BackgroundSpec> background;  // null for none

    bool operator==(const Look&) const = default;
  };
  /// What a build has drawn on its layers.
  struct First {
    Look look;
    Drawn drawn;
  };

  [[nodiscard]] Wanted wanted() const;
  [[nodiscard]] Look lookOf(const Wanted& next, PixelSize picture) const;
  static Drawn drawn(SceneDrawing& drawing, const LayerComposite& layers, const Look& look);
  [[nodiscard]] std::shared_ptr<const BackgroundSpec> wantedFrame(PixelSize picture) const;
  [[nodiscard]] ShapeList shapes() const;
  [[nodiscard]] Image viewed() const;
  void takeFaults();
  void startBuild(const Wanted& next);
  bool startPatch(const Wanted& next);
  void drawFirst();
  void takeDrawn(Drawn drawn, const PixelRect& part);
  void install(Drawn drawn, const PixelRect& part);
  void updateFrame(const std::vector<PixelRect>& areas);
  void startFrame(const std::shared_ptr<const BackgroundSpec>& background);
  void announce(const Change& change);

  Services services_;
  const EditorModel& model_;
  Image base_;
  std::shared_ptr<LayerPictures> pictures_;
  std::optional<Wanted> asked_;  // of the newest build
  LayerBuilds builds_;
  std::shared_ptr<std::optional<First>> first_;  // of the newest build, filled where it runs
  LayersReport faults_;                          // of the newest build that has landed
  bool isDrawingFirst_ = false;
  bool hasNoMemory_ = false;  // for a view of the newest build
  bool isPatching_ = false;
  bool isPatched_ = false;  // the view's ground was, and is not what a whole build gives
  std::unique_ptr<SceneView> view_;
  PixelRect shown_;  // the part of the canvas in `view_`
  bool isOpaque_ = true;
  std::unique_ptr<FramedView> frame_;
  std::shared_ptr<const BackgroundSpec> framed_;  // what `frame_` shows
  bool isFraming_ = false;
  std::vector<PixelRect> sinceFraming_;  // what changed in the view meanwhile
  mutable std::vector<HalvedPicture> halves_;
  Observers<Change> observers_;
  Lifetime drawing_;
  Lifetime framing_;
};

}  // namespace vantorel
