#include "base/json_value.hpp"

#include <algorithm>

namespace vantorel::json {

const JSONValue* find(const Object& object, std::string_view key) {
  const auto found = std::ranges::find(object, key, &JSONMember::key);
  return found == object.end() ? nullptr : &found->value;
}

const Object& Extra::members() const {
  static const Object none;
  return members_ ? *members_ : none;
}

void Extra::set(Object members) {
  members_ = members.empty() ? nullptr : std::make_unique<Object>(std::move(members));
}

}  // namespace vantorel::json
