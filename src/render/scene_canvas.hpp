#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "platform/scene_view.hpp"
#include "render/redaction.hpp"
#include "render/shape_painter.hpp"

namespace vantorel {

/// A view that draws with cairo. It keeps all of the picture and of what is placed on it.
class SceneCanvas final : public SceneView {
 public:
  explicit SceneCanvas(SceneGround ground);

  std::vector<PixelRect> show(const ShapeList& shapes) override;
  std::vector<PixelRect> patchGround(const Image& patch, int x, int y,
                                     const ShapeList& shapes) override;
  [[nodiscard]] PixelSize size() const override { return ground_.picture.size(); }
  [[nodiscard]] const std::uint8_t* pixels() const override { return pixels_.get(); }
  [[nodiscard]] std::size_t stride() const override;

  /// Gives the picture away. Opaque pictures have no alpha channel.
  [[nodiscard]] Image finish() &&;

 private:
  /// A redaction in its place.
  struct Cover {
    explicit Cover(const Redaction& covering) : redaction(covering), rim(covering.area) {}

    Redaction redaction;
    RedactionRim rim;
    RedactionLook look;
  };
  /// A shape in its place.
  struct Mark {
    std::shared_ptr<const Shape> shape;
    PlacedShape placed;
    std::unique_ptr<Cover> cover;  // of a `redact` shape
    bool isFresh = true;           // came, or went to another place among the others
  };
  using Marks = std::vector<std::shared_ptr<Mark>>;

  /// A piece of a redaction's surroundings that may have another colour now.
  struct Sample {
    std::size_t mark = 0;
    int piece = 0;
  };
  /// What is drawn in one go: an area that changed, and around it what has to be looked at.
  struct Patch {
    PixelRect area;
    PixelRect drawn;
    std::vector<Sample> samples;  // in the order of their marks
  };

  struct Changes {
    std::vector<PixelRect> areas;
    std::vector<PixelRect> redacted;  // where redactions came or went
    std::vector<PixelRect> ground;    // what lies below all of them is another
    std::size_t lowest = 0;           // of the marks that are others, or in another place
    bool isOne = false;               // that mark alone is another, and none of both redacts
  };
  /// What lies below a mark that changes again and again, as one being dragged does: it need not be
  /// drawn each time. In tiles, as far as it was needed.
  struct Below {
    std::size_t mark = 0;
    std::unique_ptr<std::uint8_t, void (*)(void*)> pixels;
    std::vector<bool> isThere;
  };

  [[nodiscard]] std::shared_ptr<Mark> markOf(const std::shared_ptr<const Shape>& shape) const;
  [[nodiscard]] Redaction redactionOf(const Shape& shape) const;
  Changes takeOver(const ShapeList& shapes);
  std::vector<PixelRect> draw(Changes changes);
  void adaptHighlights(Changes& changes);
  [[nodiscard]] std::vector<Patch> patchesFor(const std::vector<PixelRect>& areas,
                                              std::size_t lowest) const;
  [[nodiscard]] std::size_t lowestIn(const PixelRect& area) const;
  [[nodiscard]] std::size_t marksIn(const std::vector<PixelRect>& areas) const;
  void drawOn(std::uint8_t* pixels, const Patch& patch, std::vector<std::size_t>& stale);
  void drawMarks(std::uint8_t* pixels, const Patch& patch, std::size_t from, std::size_t to,
                 std::vector<std::size_t>& stale);
  void followLifted(const Changes& changes);
  void copyBelow(const PixelRect& area);
  void copyGround(std::uint8_t* pixels, const PixelRect& area) const;
  void copyBack(const PixelRect& area);
  void copyRows(const std::uint8_t* from, std::uint8_t* to, const PixelRect& area) const;
  [[nodiscard]] std::uint8_t* scratch();

  SceneGround ground_;
  std::shared_ptr<std::uint8_t> ownGround_;  // the pixels of `ground_`, once it was patched
  std::shared_ptr<std::uint8_t> pixels_;
  bool sharesGround_ = false;                               // `pixels_` began as the ground's
  std::unique_ptr<std::uint8_t, void (*)(void*)> scratch_;  // as large as the picture, once needed
  double scratchUsed_ = 0;                                  // bytes, at most
  std::optional<std::size_t> lifted_;                       // the mark that alone changed last
  std::optional<Below> below_;                              // of that one, when it changed before
  bool isDrawn_ = false;
  Marks marks_;
  std::vector<PixelRect> bounds_;      // of `marks_`
  std::vector<Redaction> redactions_;  // of all redact shapes in `marks_`, in order
};

}  // namespace vantorel
