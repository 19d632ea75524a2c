#include "library/parked_index.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <string>
#include <unordered_set>
#include <utility>

#include "base/json_document.hpp"
#include "base/json_writer.hpp"
#include "base/log.hpp"
#include "library/history_index_file.hpp"
#include "library/history_log.hpp"
#include "library/index_salvage.hpp"

#define XXH_INLINE_ALL
#include <xxhash.h>

namespace vantorel {
namespace {

constexpr std::string_view salvagedEnding = ".salvaged.unreadable.json";

constexpr double keptForSeconds = 30.0 * 86400;

/// What recognition finds again in the captures themselves, and what was made of it by hand.
constexpr std::array recognised{"ocrText", "ocrBlocks", "codes", "translations", "editedText"};

bool takeRecognised(JSONValue& value) {
  bool found = false;
  if (auto* const items = std::get_if<JSONValue::Array>(&value.value)) {
    for (JSONValue& item : *items) found |= takeRecognised(item);
  } else if (auto* const members = std::get_if<json::Object>(&value.value)) {
    found = std::erase_if(*members, [](const JSONMember& member) {
              return std::ranges::find(recognised, member.key) != recognised.end();
            }) > 0;
    for (JSONMember& member : *members) found |= takeRecognised(member.value);
  }
  return found;
}

/// The first place after a value that begins at `at`: a string, a list or an object, as far as it
/// goes on making sense. One that never ends is taken to end before the next entry.
std::size_t endOfValue(std::string_view text, std::size_t at) {
  const std::size_t begin = at;
  int depth = 0;
  bool isInString = false;
  for (; at < text.size(); ++at) {
    const char c = text[at];
    if (isInString) {
      if (c == '\\') {
        ++at;
      } else if (c == '"') {
        isInString = false;
        if (depth == 0) return at + 1;
      }
    } else if (c == '"') {
      isInString = true;
    } else if (c == '[' || c == '{') {
      ++depth;
    } else if (c == ']' || c == '}') {
      if (depth == 0) return at;
      if (--depth == 0) return at + 1;
    } else if (c == ',' && depth == 0) {
      return at;
    }
  }
  return std::min(text.find(R"({"id":)", begin), text.size());
}

/// The same for a text that is no JSON any more: whatever of it can be told from its keys. Each
/// value becomes null, so that a copy that is repaired by hand is an index again.
bool takeRecognised(std::string& text) {
  bool found = false;
  for (const std::string_view key : recognised) {
    const std::string quoted = fmt::format(R"("{}")", key);
    for (std::size_t at = 0; (at = text.find(quoted, at)) != std::string::npos;) {
      at = text.find_first_not_of(" \t\r\n", at + quoted.size());
      if (at == std::string::npos) break;
      if (text[at] != ':') continue;
      const std::size_t value = std::min(text.find_first_not_of(" \t\r\n", at + 1), text.size());
      if (std::string_view(text).substr(value).starts_with("null")) continue;
      text.replace(value, endOfValue(text, value) - value, "null");
      found = true;
    }
  }
  return found;
}

/// True when some build, this one or another, may read it: it says of which version it is.
bool hasEnvelopeVersion(const Result<JSONValue>& root) {
  if (!root) return false;
  const auto* const object = std::get_if<json::Object>(&root->value);
  const JSONValue* const version = object == nullptr ? nullptr : json::find(*object, "version");
  return version != nullptr && std::holds_alternative<std::int64_t>(version->value);
}

/// To be given the copies of the oldest one first.
class Pass {
 public:
  Pass(Files& files, double now) : files_(files), now_(now) {}

  void tidy(const Path& copy) {
    const auto tightened = files_.makeOwnerOnly(copy);
    if (!tightened || *tightened == Tightening::link || *tightened == Tightening::absent) {
      ++counts.left;
      return;
    }
    if (*tightened == Tightening::madeOwnerOnly) ++madeOwnerOnly;
    const auto status = files_.status(copy);
    auto text = [&]() -> Result<std::string> {
      const auto content = VT_TRY(files_.open(copy));
      const std::uint64_t size = VT_TRY(content->status()).size;
      if (size > largestParkedIndex) return failed(FailureKind::tooLarge, "it is too large");
      return content->read(0, size);
    }();
    if (!status || !text) {
      ++counts.left;
      return;
    }
    const bool isOld = now_ - status->modified >= keptForSeconds;
    const bool isSalvaged = isSalvagedIndex(copy.filename().string());
    if (isOld && isSalvaged) return removeOld(copy);
    auto root = json::parseValue(*text);
    const bool isWhole = hasEnvelopeVersion(root);
    if (!isWhole && isOld && salvageIndex(*text).entries.empty()) return removeOld(copy);
    if (isWhole ? takeRecognised(*root) : takeRecognised(*text)) {
      const bool isClean = rewrite(copy, isWhole ? json::toText(*root) : *text);
      ++(isClean ? counts.scrubbed : counts.left);
      isOrderLost_ |= isClean && !isSalvaged;
      return;
    }
    ++(isWhole ? counts.alreadyClean : counts.left);
    if (isOrderLost_ && !isSalvaged) (void)rewrite(copy, *text);
  }

  ParkedIndexPass counts;
  int madeOwnerOnly = 0;

 private:
  [[nodiscard]] bool rewrite(const Path& copy, std::string_view text) {
    if (files_.replace(copy, text, Privacy::ownerOnly)) return true;
    logWarning(historyLog, "a parked index copy could not be rewritten without its text");
    return false;
  }

  // Until then somebody may repair it by hand: it may be all there is of a library.
  void removeOld(const Path& copy) {
    if (files_.remove(copy)) {
      ++counts.removed;
    } else {
      ++counts.left;
      logWarning(historyLog, "a parked index copy no build can read could not be deleted");
    }
  }

  Files& files_;
  double now_;
  bool isOrderLost_ = false;  // an older copy was written anew
};

std::string_view endingOf(ParkedKind kind) {
  return kind == ParkedKind::unreadable ? ".unreadable.json" : ".replaced.json";
}

}  // namespace

std::string parkedName(const Path& index, std::string_view text, ParkedKind kind) {
  const XXH128_hash_t digest = XXH3_128bits(text.data(), text.size());
  return fmt::format("{}-{:016x}{}", index.stem().string(), digest.high64, endingOf(kind));
}

std::optional<ParkedKind> parkedKind(const Path& index, std::string_view name) {
  if (!name.starts_with(index.stem().string())) return std::nullopt;
  for (const ParkedKind kind : {ParkedKind::unreadable, ParkedKind::replaced}) {
    if (name.ends_with(endingOf(kind))) return kind;
  }
  return std::nullopt;
}

bool isParkedIndex(const Path& index, std::string_view name) {
  return parkedKind(index, name).has_value();
}

bool isSalvagedIndex(std::string_view name) { return name.ends_with(salvagedEnding); }

// Written anew, so that its thirty days begin with the repair.
Result<void> markSalvaged(Files& files, const Path& copy) {
  const std::string name = copy.filename().string();
  const std::string_view ending = endingOf(ParkedKind::unreadable);
  const Path marked =
      copy.parent_path() /
      fmt::format("{}{}", name.substr(0, name.size() - ending.size()), salvagedEnding);
  const std::string text = VT_TRY(files.read(copy, largestParkedIndex));
  VT_TRY(files.replace(marked, text, Privacy::ownerOnly));
  return files.remove(copy);
}

Parking parkIndex(Files& files, const Path& index, std::string_view text, ParkedKind kind) {
  const Path parked = index.parent_path() / parkedName(index, text, kind);
  const auto there = files.read(parked, text.size());
  if (there && *there == text) return Parking::alreadyParked;
  if (!files.replace(parked, text, Privacy::ownerOnly)) return Parking::failed;
  // The index it was read from is written over next: the copy's name must be on the disk before.
  return files.flushFolder(parked.parent_path()) ? Parking::parked : Parking::failed;
}

std::optional<std::vector<std::string>> pathsInParkedIndexes(const Files& files,
                                                             const std::vector<Path>& copies) {
  std::vector<std::string> paths;
  for (const Path& copy : copies) {
    auto text = files.read(copy, largestParkedIndex);
    if (!text) return std::nullopt;
    const auto root = json::parseValue(*std::move(text));
    if (!root) return std::nullopt;
    std::ranges::move(pathsIn(*root), std::back_inserter(paths));
  }
  return paths;
}

ParkedIndexPass tidyParkedIndexes(Files& files, const LibraryPaths& paths, double now) {
  Pass pass(files, now);
  const auto items = files.list(paths.data);
  if (!items) {
    pass.counts.folderUnchecked = items.error().kind != FailureKind::notFound;
    return pass.counts;
  }
  std::vector<std::pair<double, Path>> oldestFirst;
  for (const FolderItem& item : *items) {
    const Path path = paths.data / item.name;
    const std::string_view whole =
        std::string_view(item.name).substr(0, item.name.rfind(".staging"));
    if (whole != item.name && isParkedIndex(paths.index(), whole)) {
      (void)files.remove(path);
    } else if (parkedKind(paths.index(), item.name) == ParkedKind::unreadable) {
      const auto status = files.status(path);
      oldestFirst.emplace_back(status ? status->modified : 0, path);
    }
  }
  std::ranges::sort(oldestFirst);
  for (const auto& [modified, copy] : oldestFirst) pass.tidy(copy);
  if (pass.madeOwnerOnly > 0) {
    logInfo(historyLog, "made {} parked index copy(ies) owner-only", pass.madeOwnerOnly);
  }
  return pass.counts;
}

}  // namespace vantorel
