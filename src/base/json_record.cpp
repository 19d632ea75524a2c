#include "base/json_record.hpp"

#include <algorithm>

namespace vantorel::json {

bool detail::wrongKind(Problem& problem, std::string_view wanted) {
  problem.description = "must be ";
  problem.description += wanted;
  return false;
}

void Problem::in(std::string_view key) {
  std::string longer(key);
  if (!path.empty() && path.front() != '[') longer += '.';
  path = longer + path;
}

bool Problem::inItem(std::size_t index) {
  in("[" + std::to_string(index) + "]");
  return false;
}

void Problem::clear() {
  path.clear();
  description.clear();
}

std::string Problem::sentence() const {
  return path.empty() ? description : path + ": " + description;
}

void RecordReader::makeTable() {
  digests_ = {};
  Found found;
  for (auto members = object_.members(); members.next(found.key, found.value);) {
    found.fate = count_ < expected_ ? Fate::taken : Fate::unknown;
    if (many_.empty() && count_ < few_.size()) {
      std::construct_at(&few_[count_], found);
    } else {
      if (many_.empty()) many_.assign(few_.begin(), few_.end());
      many_.push_back(found);
    }
    ++count_;
    const std::size_t digest = digestOf(found.key);
    digests_[digest / 64] |= std::uint64_t{1} << (digest % 64);
  }
  table_ = many_.empty() ? few_.data() : many_.data();
}

bool RecordReader::takeFromAnywhere(std::string_view key, Cursor& value) {
  const std::span all(table_, count_);
  const auto found = std::ranges::find(all, key, &Found::key);
  if (found == all.end()) return false;
  expected_ = static_cast<std::size_t>(found - all.begin()) + 1;
  found->fate = Fate::taken;
  value = found->value;
  return true;
}

void RecordReader::keepUnreadable(std::string_view key) {
  if (problem_.isStrict) return failIn(key);
  problem_.clear();
  if (table_ == nullptr) makeTable();
  table_[expected_ - 1].fate = Fate::unreadable;
}

void RecordReader::dropUnreadable(std::string_view key, const Cursor& value) {
  if (problem_.isStrict && value.kind() != Kind::null) return failIn(key);
  problem_.clear();
}

void RecordReader::failIn(std::string_view key) {
  problem_.in(key);
  succeeded_ = false;
}

void RecordReader::rest(Object& extra) {
  if (table_ == nullptr) makeTable();
  const std::span all(table_, count_);
  for (const Found& found : all) {
    if (found.fate == Fate::taken || find(extra, found.key) != nullptr) continue;
    const bool repeated =
        found.fate == Fate::unknown && std::ranges::any_of(all, [&](const Found& other) {
          return other.fate != Fate::unknown && other.key == found.key;
        });
    if (!repeated) extra.push_back({std::string(found.key), found.value.toValue()});
  }
}

void RecordReader::rest(Extra& extra) {
  std::string_view key;
  Cursor value;
  if (table_ == nullptr && !members_.peek(key, value)) return;
  if (table_ == nullptr) makeTable();
  const std::span all(table_, count_);
  if (std::ranges::all_of(all, [](const Found& found) { return found.fate == Fate::taken; })) {
    return;
  }
  Object members;
  rest(members);
  extra.set(std::move(members));
}

void RecordReader::fail(std::string_view key, std::string_view description) {
  if (!succeeded_) return;
  succeeded_ = false;
  problem_.path.clear();
  problem_.description = description;
  problem_.in(key);
}

void RecordWriter::rest(const Object& extra) {
  for (const auto& [key, value] : extra) {
    const auto end = written_.begin() + static_cast<std::ptrdiff_t>(writtenCount_);
    if (std::find(written_.begin(), end, key) != end) continue;
    writer_.member(key, value);
  }
}

}  // namespace vantorel::json
