#include "library/index_salvage.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <iterator>
#include <optional>
#include <unordered_map>
#include <utility>

#include "base/json_document.hpp"
#include "base/json_fault.hpp"
#include "base/random_id.hpp"
#include "base/utf8.hpp"
#include "library/history_index_file.hpp"

namespace vantorel {
namespace {

constexpr std::string_view space = " \t\r\n";

std::string_view withoutSpace(std::string_view text) {
  const std::size_t first = std::min(text.find_first_not_of(space), text.size());
  return text.substr(first, text.find_last_not_of(space) + 1 - first);
}

/// Where the next object begins whose first key is "id", as it is in each entry and collection.
std::size_t nextObject(std::string_view text, std::size_t from) {
  for (std::size_t key = from; (key = text.find(R"("id")", key)) != std::string_view::npos; ++key) {
    const std::string_view before = text.substr(from, key - from);
    const std::size_t last = before.find_last_not_of(space);
    if (last != std::string_view::npos && before[last] == '{') return from + last;
  }
  return std::string_view::npos;
}

/// The index's own version, where the text still begins with it.
int versionOf(std::string_view text) {
  constexpr std::string_view key = R"({"version":)";
  std::string head(text.substr(0, 100));
  std::erase_if(head, [](char c) { return space.contains(c); });
  int version = 0;
  if (head.starts_with(key)) {
    std::from_chars(head.data() + key.size(), head.data() + head.size(), version);
  }
  return version;
}

/// The paths that stand under this key.
std::vector<std::string> pathsUnder(std::string_view key, std::string_view text) {
  std::vector<std::string> paths;
  for (std::size_t at = 0; (at = text.find(key, at)) != std::string_view::npos;) {
    at += key.size();
    const std::size_t colon = text.find_first_not_of(space, at);
    if (colon == std::string_view::npos || text[colon] != ':') continue;
    const std::size_t begin = text.find_first_not_of(space, colon + 1);
    if (begin == std::string_view::npos || text[begin] != '"') continue;
    const auto path = json::parseValue(json::leadingValue(text.substr(begin)));
    if (path) std::ranges::move(pathsIn(*path), std::back_inserter(paths));
  }
  return paths;
}

/// Shapes and other parts of entries have some of these keys, but not all.
bool isCollection(json::Cursor item) {
  std::size_t found = 0;
  std::string_view key;
  json::Cursor value;
  for (auto members = item.members(); members.next(key, value);) {
    if (key == "name" || key == "sort" || key == "order" || key == "createdAt") ++found;
  }
  return found == 4;
}

/// Entries that follow one another without damage, and where they stand.
struct Chain {
  std::size_t begin = 0;
  std::size_t end = 0;
  EntryList entries;
};

class Salvage {
 public:
  explicit Salvage(std::string_view text) : text_(text) {}

  SalvagedIndex run() {
    for (std::size_t at = 0; (at = nextObject(text_, at)) != std::string_view::npos;) {
      const std::string_view value = json::leadingValue(text_.substr(at));
      const auto object = parser_.parse(value);
      if (object) {
        take(*object, at, at + value.size());
        at += value.size();
      } else {
        ++at;
      }
    }
    close();
    countDamage();
    return std::move(salvaged_);
  }

 private:
  void take(json::Cursor object, std::size_t begin, std::size_t end) {
    json::Problem problem;
    if (auto entry = std::make_shared<ScreenshotEntry>(); read(object, *entry, problem)) {
      const bool follows =
          !chain_.entries.empty() && withoutSpace(between(chain_.end, begin)) == ",";
      if (!follows) {
        close();
        chain_.begin = begin;
      }
      chain_.end = end;
      chain_.entries.push_back(std::move(entry));
      return;
    }
    problem.clear();
    HistoryCollection collection;
    if (isCollection(object) && read(object, collection, problem)) {
      salvaged_.collections.push_back(std::move(collection));
    }
  }

  void close() {
    Chain chain = std::exchange(chain_, {});
    if (chain.entries.empty() || isInsideEntry(chain)) return;
    for (EntryPointer& entry : chain.entries) add(std::move(entry));
    chains_.emplace_back(chain.begin, chain.end);
  }

  void add(EntryPointer entry) {
    const auto [found, isNew] = paths_.emplace(entry->id, entry->path);
    if (!isNew) {
      if (found->second == entry->path) return;
      ScreenshotEntry renamed = *entry;
      renamed.id = randomID();
      entry = std::make_shared<const ScreenshotEntry>(std::move(renamed));
    }
    salvaged_.entries.push_back(std::move(entry));
  }

  /// Whether this is part of an entry that could not be read: a key or the rest of an object
  /// stands around it, which the list of all entries does not have.
  [[nodiscard]] bool isInsideEntry(const Chain& chain) const {
    if (beginsSoundly(chain.begin)) return false;
    const std::string_view before = withoutSpace(between(0, chain.begin));
    const std::string_view after = withoutSpace(text_.substr(chain.end, longestRest));
    if (before.ends_with(':')) return true;
    if (after.starts_with(',')) return withoutSpace(after.substr(1)).starts_with('"');
    if (!after.empty() && withoutSpace(after.substr(1)).starts_with(']')) return true;
    const std::string rest = R"({"":[)" + std::string(after);
    const std::string_view object = json::leadingValue(rest);
    return object.size() < rest.size() && json::parseValue(object);
  }

  [[nodiscard]] bool beginsSoundly(std::size_t at) const {
    return at <= longestRest && json::parseValue(std::string(between(0, at)) + "]}").has_value();
  }

  void countDamage() {
    if (chains_.empty()) {
      salvaged_.damagedPlaces = 1;
      return;
    }
    const std::string tail = R"({"":[)" + std::string(text_.substr(chains_.back().second));
    const std::size_t ends =
        (beginsSoundly(chains_.front().first) ? 0 : 1) + (json::parseValue(tail) ? 0 : 1);
    salvaged_.damagedPlaces = std::max<std::size_t>(chains_.size() - 1 + ends, 1);
  }

  [[nodiscard]] std::string_view between(std::size_t begin, std::size_t end) const {
    return text_.substr(begin, end - begin);
  }

  /// Of an entry behind what stands in it, and of the index before its list.
  static constexpr std::size_t longestRest = 1 << 20;

  std::string_view text_;
  json::DocumentParser parser_;
  Chain chain_;
  std::vector<std::pair<std::size_t, std::size_t>> chains_;  // begins and ends of those that count
  std::unordered_map<std::string, std::string> paths_;       // by the entries' ids
  SalvagedIndex salvaged_;
};

std::string counted(std::size_t count, std::string_view one, std::string_view several) {
  return fmt::format("{} {}", count, count == 1 ? one : several);
}

}  // namespace

SalvagedIndex salvageIndex(std::string_view text) {
  if (!isUtf8(text)) return salvageIndex(repairedUtf8(text));
  if (versionOf(text) > HistoryIndexFile::currentVersion) return {.damagedPlaces = 1};
  SalvagedIndex salvaged = Salvage(text).run();
  salvaged.paths = pathsUnder(R"("path")", text);
  salvaged.originalPaths = pathsUnder(R"("originalPath")", text);
  return salvaged;
}

std::string IndexDamage::sentence() const {
  return fmt::format(
      "The library's index was damaged in {} and is kept as {}. {} can be read in it; \"vantorel "
      "library verify --repair\" files the captures again.",
      counted(places, "place", "places"), keptAs, counted(readable, "entry", "entries"));
}

}  // namespace vantorel
