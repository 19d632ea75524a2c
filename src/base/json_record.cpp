#include "base/json_record.hpp"

#include <algorithm>
#include <limits>
#include <span>

namespace vantorel::json {
namespace {

bool wrongKind(Problem& problem, std::string_view wanted) {
  problem.description = "must be ";
  problem.description += wanted;
  return false;
}

}  // namespace

void Problem::in(std::string_view key) {
  std::string longer(key);
  if (!path.empty() && path.front() != '[') longer += '.';
  path = longer + path;
}

std::string Problem::sentence() const {
  return path.empty() ? description : path + ": " + description;
}

bool read(Cursor cursor, bool& value, Problem& problem) {
  const auto found = cursor.asBool();
  if (!found) return wrongKind(problem, "true or false");
  value = *found;
  return true;
}

bool read(Cursor cursor, int& value, Problem& problem) {
  const auto found = cursor.asInt();
  if (!found) return wrongKind(problem, "a number");
  using Limits = std::numeric_limits<int>;
  value = static_cast<int>(std::clamp<std::int64_t>(*found, Limits::min(), Limits::max()));
  return true;
}

bool read(Cursor cursor, std::int64_t& value, Problem& problem) {
  const auto found = cursor.asInt();
  if (!found) return wrongKind(problem, "a number");
  value = *found;
  return true;
}

bool read(Cursor cursor, double& value, Problem& problem) {
  const auto found = cursor.asDouble();
  if (!found) return wrongKind(problem, "a number");
  value = *found;
  return true;
}

bool read(Cursor cursor, float& value, Problem& problem) {
  const auto found = cursor.asDouble();
  if (!found) return wrongKind(problem, "a number");
  constexpr double largest = std::numeric_limits<float>::max();
  value = static_cast<float>(std::clamp(*found, -largest, largest));
  return true;
}

bool read(Cursor cursor, std::string& value, Problem& problem) {
  const auto found = cursor.asString();
  if (!found) return wrongKind(problem, "a string");
  value = *found;
  return true;
}

bool read(Cursor cursor, JSONValue& value, Problem& /*problem*/) {
  value = cursor.toValue();
  return true;
}

RecordReader::RecordReader(Cursor object, Problem& problem) : problem_(problem) {
  Found found;
  for (auto members = object.members(); members.next(found.key, found.value);) {
    if (many_.empty() && count_ < few_.size()) {
      std::construct_at(&few_[count_], found);
    } else {
      if (many_.empty()) many_.assign(few_.begin(), few_.end());
      many_.push_back(found);
    }
    ++count_;
  }
}

RecordReader::Found* RecordReader::begin() { return many_.empty() ? few_.data() : many_.data(); }

RecordReader::Found* RecordReader::take(std::string_view key) {
  const std::span<Found> all(begin(), count_);
  // Files written by this program have their keys in the described order: look there first, and
  // only a file from elsewhere pays for the search.
  if (expected_ >= count_ || all[expected_].key != key) {
    const auto found = std::ranges::find(all, key, &Found::key);
    if (found == all.end()) return nullptr;
    expected_ = static_cast<std::size_t>(found - all.begin());
  }
  Found* const found = &all[expected_++];
  found->fate = Fate::taken;
  return found;
}

const Cursor* RecordReader::raw(std::string_view key) {
  const Found* const found = take(key);
  return found == nullptr ? nullptr : &found->value;
}

void RecordReader::rest(Object& extra) {
  const std::span<Found> all(begin(), count_);
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
  const std::span<Found> all(begin(), count_);
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
    writer_.key(key);
    writer_.value(value);
  }
}

}  // namespace vantorel::json
