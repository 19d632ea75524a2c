#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "editor/records/shape_list.hpp"

namespace vantorel {

/// How to come from one list of shapes to another, in as few bytes as the usual edits allow: a
/// shape that was moved costs about a byte a coordinate, shapes that got the same style share it.
/// What comes back equals what was there, to the last bit of every number.
class ShapesDelta {
 public:
  ShapesDelta() = default;
  ShapesDelta(const ShapeList& from, const ShapeList& to);

  /// The list `to`, when `from` is the one this was made with.
  [[nodiscard]] ShapeList applied(const ShapeList& from) const;

 private:
  enum class Kind : std::uint8_t {
    same,     ///< shared with `from`
    changed,  ///< as `changes_` says
    own,      ///< kept whole in `own_`
  };
  /// Shapes of one kind that follow each other in both lists.
  struct Run {
    std::uint32_t from = 0;
    std::uint32_t count = 0;
    Kind kind = Kind::same;
  };

  void add(Kind kind, std::size_t from);
  [[nodiscard]] bool tryChange(const Shape& from, const Shape& to);
  void appendChange(const Shape& from, const Shape& to);
  [[nodiscard]] Shape readChange(const Shape& from, std::size_t& at) const;
  [[nodiscard]] std::size_t lookOf(const Shape& from, const Shape& to);

  Pt shift_;  // of most shapes
  std::vector<Run> runs_;
  std::string changes_;
  std::vector<std::shared_ptr<const Shape>> looks_;  // all that is no place and no name
  ShapeList own_;
};

}  // namespace vantorel
