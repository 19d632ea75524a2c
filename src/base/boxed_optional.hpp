#pragma once

#include <memory>
#include <optional>
#include <utility>

namespace vantorel {

/// A `std::optional` for what few of very many objects have: takes one pointer while it is empty.
/// A value, copied and compared with what it holds.
template <class T>
class BoxedOptional {
 public:
  using value_type = T;

  BoxedOptional() = default;
  BoxedOptional(std::nullopt_t) {}  // NOLINT(google-explicit-constructor): as std::optional
  BoxedOptional(T value) : held_(std::make_unique<T>(std::move(value))) {}  // NOLINT
  BoxedOptional(std::optional<T> value) {                                   // NOLINT
    if (value) held_ = std::make_unique<T>(*std::move(value));
  }
  BoxedOptional(const BoxedOptional& other)
      : held_(other.held_ ? std::make_unique<T>(*other.held_) : nullptr) {}
  BoxedOptional(BoxedOptional&&) noexcept = default;
  BoxedOptional& operator=(BoxedOptional other) noexcept {
    held_ = std::move(other.held_);
    return *this;
  }
  ~BoxedOptional() = default;

  operator std::optional<T>() const {  // NOLINT(google-explicit-constructor)
    return held_ ? std::optional<T>(*held_) : std::nullopt;
  }

  [[nodiscard]] bool has_value() const { return held_ != nullptr; }
  explicit operator bool() const { return held_ != nullptr; }
  void reset() { held_.reset(); }

  T& operator*() { return *held_; }
  const T& operator*() const { return *held_; }
  T* operator->() { return held_.get(); }
  const T* operator->() const { return held_.get(); }

  friend bool operator==(const BoxedOptional& a, const BoxedOptional& b) {
    return a.held_ && b.held_ ? *a.held_ == *b.held_ : a.held_ == b.held_;
  }

 private:
  std::unique_ptr<T> held_;
};

}  // namespace vantorel
