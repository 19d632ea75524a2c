// Arbitrary bytes as the library's index: decoding never fails badly, and what is written can be
// read again and stays the same. Nor does reading what can be read of a damaged one, which is found
// whole again in an index that is written with it.
#include <cstdint>
#include <set>
#include <string>

#include "base/check.hpp"
#include "base/json_writer.hpp"
#include "library/history_index_file.hpp"
#include "library/index_salvage.hpp"

namespace {

std::string encodeIndex(const vantorel::HistoryIndexFile& file) {
  std::string text = vantorel::encodeIndexHead();
  const char* comma = "";
  const auto add = [&](const auto& item) {
    text += comma + vantorel::json::toText(item);
    comma = ",";
  };
  for (const auto& entry : file.entries) add(*entry);
  for (const auto& unread : file.unreadEntries) add(unread);
  return text + vantorel::encodeIndexTail(file);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace vantorel;
  const std::string text(reinterpret_cast<const char*>(data), size);
  const auto decoded = decodeIndex(text);
  if (!decoded) {
    SalvagedIndex salvaged = salvageIndex(text);
    const std::size_t count = salvaged.entries.size();
    const auto whole = decodeIndex(encodeIndex(
        {.entries = std::move(salvaged.entries), .collections = std::move(salvaged.collections)}));
    VT_CHECK(whole.has_value());
    VT_CHECK(whole->file.entries.size() == count);
    std::set<std::string> ids;
    for (const auto& entry : whole->file.entries) VT_CHECK(ids.insert(entry->id).second);
    return 0;
  }
  const std::string once = encodeIndex(decoded->file);
  const auto again = decodeIndex(once);
  VT_CHECK(again.has_value());
  VT_CHECK(encodeIndex(again->file) == once);
  return 0;
}
