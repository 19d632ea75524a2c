#include "app/records/hot_key_spec.hpp"

#include <limits>

namespace vantorel {
namespace {

bool readWord(json::Cursor object, std::string_view wanted, std::uint32_t& word) {
  std::string_view key;
  json::Cursor value;
  for (auto members = object.members(); members.next(key, value);) {
    if (key != wanted) continue;
    const auto number = value.asInt();
    if (!number || *number < 0 || *number > std::numeric_limits<std::uint32_t>::max()) return false;
    word = static_cast<std::uint32_t>(*number);
    return true;
  }
  return false;
}

}  // namespace

bool read(json::Cursor cursor, HotKeySpec& spec, json::Problem& problem) {
  if (readWord(cursor, "keyCode", spec.keyCode) &&
      readWord(cursor, "carbonModifiers", spec.carbonModifiers)) {
    return true;
  }
  problem.description = "must be an object with the numbers \"keyCode\" and \"carbonModifiers\"";
  return false;
}

void write(json::Writer& writer, const HotKeySpec& spec) {
  writer.beginObject();
  writer.member("keyCode", std::int64_t{spec.keyCode});
  writer.member("carbonModifiers", std::int64_t{spec.carbonModifiers});
  writer.endObject();
}

}  // namespace vantorel
