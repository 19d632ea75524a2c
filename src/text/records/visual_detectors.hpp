#pragma once

namespace vantorel {

/// A set of the detectors that look at pictures: those that are to run, or those that could not.
class VisualDetectors {
 public:
  constexpr VisualDetectors() = default;
  constexpr explicit VisualDetectors(int rawValue) : rawValue_(rawValue) {}

  [[nodiscard]] constexpr int rawValue() const { return rawValue_; }
  [[nodiscard]] constexpr bool isEmpty() const { return rawValue_ == 0; }
  [[nodiscard]] constexpr bool contains(VisualDetectors other) const {
    return (rawValue_ & other.rawValue_) == other.rawValue_;
  }
  constexpr VisualDetectors& operator|=(VisualDetectors other) {
    rawValue_ |= other.rawValue_;
    return *this;
  }
  friend constexpr VisualDetectors operator|(VisualDetectors a, VisualDetectors b) {
    return a |= b;
  }
  bool operator==(const VisualDetectors&) const = default;

  static const VisualDetectors faces;
  static const VisualDetectors people;

 private:
  int rawValue_ = 0;
};

inline constexpr VisualDetectors VisualDetectors::faces{1};
inline constexpr VisualDetectors VisualDetectors::people{2};

}  // namespace vantorel
