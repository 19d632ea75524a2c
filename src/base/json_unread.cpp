#include "base/json_unread.hpp"

namespace vantorel::json {

const std::vector<Unread::Part>& Unread::parts() const {
  static const std::vector<Part> none;
  return parts_ ? *parts_ : none;
}

void Unread::add(std::size_t index, JSONValue value) {
  if (!parts_) parts_ = std::make_unique<std::vector<Part>>();
  parts_->push_back({index, std::move(value)});
}

}  // namespace vantorel::json
