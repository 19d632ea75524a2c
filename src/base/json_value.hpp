#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace vantorel {

struct JSONMember;

namespace json {

/// The members of an object in the order they were read.
using Object = std::vector<JSONMember>;

/// A number that neither int64 nor double holds (1e400, 2^64), kept as the text it had.
struct NumberText {
  std::string text;
  bool operator==(const NumberText&) const = default;
};

}  // namespace json

/// A free-form JSON value: null, bool, int, double, number text, string, array or object.
struct JSONValue {
  using Array = std::vector<JSONValue>;

  std::variant<std::nullptr_t, bool, std::int64_t, double, json::NumberText, std::string, Array,
               json::Object>
      value;

  bool operator==(const JSONValue&) const;
};

struct JSONMember {
  std::string key;
  JSONValue value;

  bool operator==(const JSONMember&) const = default;
};

inline bool JSONValue::operator==(const JSONValue&) const = default;

namespace json {

/// The value of the member called `key`, or null when there is none. The pointer lives as long as
/// `object` is not changed.
[[nodiscard]] const JSONValue* find(const Object& object, std::string_view key);

/// The unknown members of a record of which there are very many: one pointer while there are none.
class Extra {
 public:
  Extra() = default;
  Extra(const Extra& other) : members_(copy(other)) {}
  Extra(Extra&&) noexcept = default;
  Extra& operator=(const Extra& other) {
    members_ = copy(other);
    return *this;
  }
  Extra& operator=(Extra&&) noexcept = default;
  ~Extra() = default;

  [[nodiscard]] const Object& members() const;
  void set(Object members);

  bool operator==(const Extra& other) const { return members() == other.members(); }

 private:
  static std::unique_ptr<Object> copy(const Extra& other) {
    return other.members_ ? std::make_unique<Object>(*other.members_) : nullptr;
  }

  std::unique_ptr<Object> members_;
};

}  // namespace json
}  // namespace vantorel
