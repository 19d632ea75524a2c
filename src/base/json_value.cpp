#include "base/json_value.hpp"

#include <algorithm>

namespace vantorel::json {

const JSONValue* find(const Object& object, std::string_view key) {
  const auto found = std::ranges::find(object, key, &JSONMember::key);
  return found == object.end() ? nullptr : &found->value;
}

}  // namespace vantorel::json
