#pragma once

#include <cstddef>
#include <vector>

#include "editor/records/box.hpp"

namespace vantorel {

/// Where a caret goes. Left and right are as seen; before and after follow the order in which the
/// text is read, which in right-to-left text is the other way.
enum class CaretStep {
  letterLeft,
  letterRight,
  wordLeft,
  wordRight,
  lineStart,
  lineEnd,
  lineUp,
  lineDown,
  textStart,
  textEnd,
  letterBefore,
  letterAfter,
  wordBefore,
  wordAfter,
};

/// A part of a text that is typed.
struct TypedRange {
  std::size_t from = 0;
  std::size_t to = 0;  ///< behind the last byte

  bool operator==(const TypedRange&) const = default;
};

/// Where the letters of a text lie, as they are drawn. Offsets are bytes of `Shape::text`, between
/// what a reader takes for one letter; any other offset is taken for the nearest such place before
/// it. Places are pixels of the capture. Never throws; valid as long as it is kept, for the shape
/// it was made of. One thread.
class TextGeometry {
 public:
  virtual ~TextGeometry() = default;

  /// The box that the lines fill: see `MeasureText`.
  [[nodiscard]] virtual Box box() const = 0;

  /// The caret before the letter at `offset`: as high as its line, without width.
  [[nodiscard]] virtual Box caret(std::size_t offset) const = 0;

  /// The place between letters nearest to `at`, in the line at its height.
  [[nodiscard]] virtual std::size_t offsetAt(Pt at) const = 0;

  /// What a selection covers, line by line; in mixed directions several boxes a line.
  [[nodiscard]] virtual std::vector<Box> boxes(TypedRange range) const = 0;

  /// Where a step leads from `offset`; `offset` itself at the end of the way. Up and down keep the
  /// caret's place in the line.
  [[nodiscard]] virtual std::size_t next(std::size_t offset, CaretStep step) const = 0;

  /// The word at `offset`, or the gap between two.
  [[nodiscard]] virtual TypedRange wordAt(std::size_t offset) const = 0;
};

}  // namespace vantorel
