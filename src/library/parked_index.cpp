#include "library/parked_index.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <string>

#include "base/json_document.hpp"
#include "base/json_writer.hpp"
#include "base/log.hpp"
#include "library/history_index_file.hpp"

#define XXH_INLINE_ALL
#include <xxhash.h>

namespace vantorel {
namespace {

constexpr std::string_view category = "History";
constexpr double keptForSeconds = 30.0 * 86400;
constexpr std::uint64_t largestCopy = 512 << 20;

/// What recognition finds again in the captures themselves.
constexpr std::array recognised{"ocrText", "ocrBlocks", "codes", "translations"};

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

/// True when some build, this one or another, may read it: it says of which version it is.
bool hasEnvelopeVersion(const Result<JSONValue>& root) {
  if (!root) return false;
  const auto* const object = std::get_if<json::Object>(&root->value);
  const JSONValue* const version = object == nullptr ? nullptr : json::find(*object, "version");
  return version != nullptr && std::holds_alternative<std::int64_t>(version->value);
}

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
      if (size > largestCopy) return failed(FailureKind::tooLarge, "it is too large");
      return content->read(0, size);
    }();
    if (!status || !text) {
      ++counts.left;
      return;
    }
    auto root = json::parseValue(*std::move(text));
    if (!hasEnvelopeVersion(root)) return removeOld(copy, status->modified);
    if (!takeRecognised(*root)) {
      ++counts.alreadyClean;
    } else if (files_.replace(copy, json::toText(*root), Privacy::ownerOnly)) {
      ++counts.scrubbed;
    } else {
      ++counts.left;
      logWarning(category, "a parked index copy could not be rewritten without its text");
    }
  }

  ParkedIndexPass counts;
  int madeOwnerOnly = 0;

 private:
  // Somebody may still mend it by hand: it is all there is of a library.
  void removeOld(const Path& copy, double modified) {
    if (now_ - modified < keptForSeconds) {
      ++counts.left;
    } else if (files_.remove(copy)) {
      ++counts.removed;
    } else {
      ++counts.left;
      logWarning(category, "a parked index copy no build can read could not be deleted");
    }
  }

  Files& files_;
  double now_;
};

}  // namespace

Parking parkIndex(Files& files, const Path& index, std::string_view text) {
  const XXH128_hash_t digest = XXH3_128bits(text.data(), text.size());
  const Path parked = index.parent_path() / fmt::format("{}-{:016x}.unreadable.json",
                                                        index.stem().string(), digest.high64);
  const auto there = files.read(parked, text.size());
  if (there && *there == text) return Parking::alreadyParked;
  if (!files.replace(parked, text, Privacy::ownerOnly)) return Parking::failed;
  // The damaged index is written over next: the copy's name must be on the disk before.
  return files.flushFolder(parked.parent_path()) ? Parking::parked : Parking::failed;
}

std::optional<std::vector<std::string>> pathsInParkedIndexes(const Files& files,
                                                             const std::vector<Path>& copies) {
  std::vector<std::string> paths;
  for (const Path& copy : copies) {
    auto text = files.read(copy, largestCopy);
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
  for (const FolderItem& item : *items) {
    if (!item.name.starts_with(paths.index().stem().string())) continue;
    if (item.name.ends_with(".unreadable.json.staging")) {
      (void)files.remove(paths.data / item.name);
    } else if (item.name.ends_with(".unreadable.json")) {
      pass.tidy(paths.data / item.name);
    }
  }
  if (pass.madeOwnerOnly > 0) {
    logInfo(category, "made {} parked index copy(ies) owner-only", pass.madeOwnerOnly);
  }
  return pass.counts;
}

}  // namespace vantorel
