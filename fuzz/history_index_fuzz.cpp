// Arbitrary bytes as the library's index: decoding never fails badly, and what is written can be
// read again and stays the same.
#include <cstdint>
#include <string>

#include "base/check.hpp"
#include "base/json_writer.hpp"
#include "library/history_index_file.hpp"

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
  const auto decoded = decodeIndex(std::string(reinterpret_cast<const char*>(data), size));
  if (!decoded) return 0;
  const std::string once = encodeIndex(decoded->file);
  const auto again = decodeIndex(once);
  VT_CHECK(again.has_value());
  VT_CHECK(encodeIndex(again->file) == once);
  return 0;
}
