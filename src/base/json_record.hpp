#pragma once

#include <algorithm>
#include <array>
#include <concepts>
#include <cstdint>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "base/boxed_optional.hpp"
#include "base/enum_names.hpp"
#include "base/json_document.hpp"
#include "base/json_value.hpp"
#include "base/json_writer.hpp"

// A record is described once, in its .cpp, and both directions come from that description:
//
//     // shape.hpp                                  // shape.cpp
//     struct Shape {                                template <class V, class S>
//       std::string id;                             void Shape::describe(V& v, S& shape) {
//       std::optional<int> sides;                     v.required("id", shape.id);
//       json::Object extra;                           v.field("sides", shape.sides, json::Clamp{3,
//       12}); template <class V, class S>                   v.rest(shape.extra); static void
//       describe(V& v, S& shape);       }
//     };                                            VT_JSON_RECORD(Shape)
//     VT_JSON_RECORD_DECLARATION(Shape);
//
// The order of the lines is the order of the keys. Reading is tolerant:
//  - `required` fails the record when the key is missing or of another kind;
//  - `requiredIfPresent` fails it only when the value cannot be read;
//  - `field` keeps the member's initialiser then. The value of an optional that could not be read
//    is put into `rest`, so that writing gives it back;
//  - rules behind a member change what was read (`Clamp`), or how it is written too (`AsPath`);
//  - numbers are clamped to the range of their type;
//  - an item of a list or map that cannot be read is dropped, the others stay;
//  - of a repeated key one value counts, the others are dropped.
// With a strict `Problem` whatever cannot be read fails the whole; null counts as absent.
// Writing leaves out empty optionals and nothing else.

namespace vantorel::json {

/// Why a record could not be read, with the path to the place: "entries[3].shapes[0].type: ...".
struct Problem {
  std::string path;
  std::string description;
  bool isStrict = false;  ///< nothing is dropped: see above

  void in(std::string_view key);
  bool inItem(std::size_t index);  ///< false always
  void clear();
  [[nodiscard]] std::string sentence() const;
};

/// Keeps a number in [least, greatest].
template <class Number>
struct Clamp {
  Number least;
  Number greatest;

  void operator()(Number& number) const {
    if (!(number >= least)) number = least;
    if (number > greatest) number = greatest;
  }
  void operator()(std::optional<Number>& number) const {
    if (number) (*this)(*number);
  }
};
template <class Number>
Clamp(Number, Number) -> Clamp<Number>;

namespace detail {
bool wrongKind(Problem& problem, std::string_view wanted);
}

inline bool read(Cursor cursor, bool& value, Problem& problem) {
  const auto found = cursor.asBool();
  if (!found) return detail::wrongKind(problem, "true or false");
  value = *found;
  return true;
}

[[gnu::always_inline]] inline bool read(Cursor cursor, int& value, Problem& problem) {
  const auto found = cursor.asInt();
  if (!found) return detail::wrongKind(problem, "a number");
  using Limits = std::numeric_limits<int>;
  value = static_cast<int>(std::clamp<std::int64_t>(*found, Limits::min(), Limits::max()));
  return true;
}

[[gnu::always_inline]] inline bool read(Cursor cursor, std::int64_t& value, Problem& problem) {
  const auto found = cursor.asInt();
  if (!found) return detail::wrongKind(problem, "a number");
  value = *found;
  return true;
}

[[gnu::always_inline]] inline bool read(Cursor cursor, double& value, Problem& problem) {
  const auto found = cursor.asDouble();
  if (!found) return detail::wrongKind(problem, "a number");
  value = *found;
  return true;
}

[[gnu::always_inline]] inline bool read(Cursor cursor, float& value, Problem& problem) {
  const auto found = cursor.asDouble();
  if (!found) return detail::wrongKind(problem, "a number");
  constexpr double largest = std::numeric_limits<float>::max();
  value = static_cast<float>(std::clamp(*found, -largest, largest));
  return true;
}

[[gnu::always_inline]] inline bool read(Cursor cursor, std::string& value, Problem& problem) {
  const auto found = cursor.asString();
  if (!found) return detail::wrongKind(problem, "a string");
  value = *found;
  return true;
}

inline bool read(Cursor cursor, JSONValue& value, Problem& /*problem*/) {
  value = cursor.toValue();
  return true;
}

inline void write(Writer& writer, bool value) { writer.value(value); }
inline void write(Writer& writer, int value) { writer.value(value); }
inline void write(Writer& writer, std::int64_t value) { writer.value(value); }
inline void write(Writer& writer, double value) { writer.value(value); }
inline void write(Writer& writer, float value) { writer.value(value); }
inline void write(Writer& writer, const std::string& value) { writer.value(value); }
inline void write(Writer& writer, const JSONValue& value) { writer.value(value); }

template <NamedEnum Enum>
bool read(Cursor cursor, Enum& value, Problem& problem) {
  const auto text = cursor.asString();
  const auto found = text ? enumFromName<Enum>(*text) : std::nullopt;
  if (!found) return detail::wrongKind(problem, "one of " + allNames<Enum>());
  value = *found;
  return true;
}

template <NamedEnum Enum>
void write(Writer& writer, Enum value) {
  writer.value(nameOf(value));
}

template <class Item>
bool read(Cursor cursor, std::vector<Item>& list, Problem& problem) {
  if (cursor.kind() != Kind::array) return detail::wrongKind(problem, "a list");
  list.clear();
  auto items = cursor.items();
  // Many small items that turn out to be no records must not cost much more than their text.
  list.reserve(std::min(items.count(), 4 * items.weight() / sizeof(Item) + 1));
  for (Cursor item; items.next(item);) {
    Item& value = list.emplace_back();
    if (!read(item, value, problem)) {
      list.pop_back();
      if (problem.isStrict) return problem.inItem(list.size());
      problem.clear();
    }
  }
  return true;
}

template <class Item>
void write(Writer& writer, const std::vector<Item>& list) {
  writer.beginArray();
  const std::size_t start = writer.text().size();
  std::size_t count = 0;
  for (const Item& item : list) {
    write(writer, item);
    // The first items tell how much room a long list takes.
    if (++count == 64) writer.expect((writer.text().size() - start) / 60 * (list.size() - count));
  }
  writer.endArray();
}

template <class Item>
bool read(Cursor cursor, std::map<std::string, Item>& map, Problem& problem) {
  if (cursor.kind() != Kind::object) return detail::wrongKind(problem, "an object");
  map.clear();
  std::string_view key;
  Cursor member;
  for (auto members = cursor.members(); members.next(key, member);) {
    Item value{};
    if (read(member, value, problem)) {
      map.insert_or_assign(std::string(key), std::move(value));
    } else if (problem.isStrict) {
      problem.in(key);
      return false;
    } else {
      problem.clear();
    }
  }
  return true;
}

template <class Item>
void write(Writer& writer, const std::map<std::string, Item>& map) {
  writer.beginObject();
  for (const auto& [key, item] : map) {
    writer.key(key);
    write(writer, item);
  }
  writer.endObject();
}

namespace detail {
template <class T>
inline constexpr bool isOptional = false;
template <class T>
inline constexpr bool isOptional<std::optional<T>> = true;
template <class T>
inline constexpr bool isOptional<BoxedOptional<T>> = true;
}  // namespace detail

/// The reading half of a description: finds the described keys in one JSON object.
class RecordReader {
 public:
  static constexpr bool reading = true;

  RecordReader(Cursor object, Problem& problem)
      : problem_(problem), object_(object), members_(object.members()) {}

  /// False once a required key could not be read; `problem` then says which and why.
  [[nodiscard]] bool succeeded() const { return succeeded_; }

  template <class Member, class... Rules>
  [[gnu::always_inline]] void required(std::string_view key, Member& member,
                                       const Rules&... rules) {
    if (!succeeded_) return;
    Cursor value;
    if (!take(key, value)) {
      fail(key, "is missing");
    } else if (read(value, member, problem_)) {
      (rules(member), ...);
    } else {
      failIn(key);
    }
  }

  template <class Member, class... Rules>
  [[gnu::always_inline]] void field(std::string_view key, Member& member, const Rules&... rules) {
    if (!succeeded_) return;
    Cursor found;
    if (!take(key, found)) return;
    if constexpr (detail::isOptional<Member>) {
      if (found.kind() == Kind::null) return;
      typename Member::value_type value{};
      if (!read(found, value, problem_)) {
        keepUnreadable(key);
        return;
      }
      member = std::move(value);
    } else {
      Member value{};
      if (!read(found, value, problem_)) {
        dropUnreadable(key, found);
        return;
      }
      member = std::move(value);
    }
    (rules(member), ...);
  }

  /// As `required`, but the key may be missing.
  template <class Member>
  void requiredIfPresent(std::string_view key, Member& member) {
    if (!succeeded_) return;
    Cursor value;
    if (take(key, value) && !read(value, member, problem_)) failIn(key);
  }

  /// The raw value of `key`, for records that look at it in their own way. The key does not appear
  /// in `rest`.
  [[nodiscard]] std::optional<Cursor> raw(std::string_view key) {
    Cursor value;
    return take(key, value) ? std::optional(value) : std::nullopt;
  }

  /// Collects every key that no line before has taken.
  void rest(Object& extra);
  void rest(Extra& extra);

  /// Fails the record.
  void fail(std::string_view key, std::string_view description);

 private:
  /// What became of a member.
  enum class Fate : std::uint8_t {
    unknown,
    taken,
    unreadable,  ///< its key is known; it belongs to `rest`, and its repetitions to nothing
  };
  struct Found {
    std::string_view key;
    Cursor value;
    Fate fate = Fate::unknown;
  };

  /// Files written by this program have their keys in the described order. While they do, the
  /// members are taken as they come; the first key that is absent or stands elsewhere makes a table
  /// of all members. Inlined, so that a key that is a literal is compared in one go.
  [[gnu::always_inline]] bool take(std::string_view key, Cursor& value) {
    if (table_ == nullptr) {
      std::string_view next;
      if (members_.peek(next, value) && same(next, key)) {
        members_.pass(value);
        ++expected_;
        return true;
      }
      makeTable();
    }
    if (expected_ < count_ && same(table_[expected_].key, key)) {
      Found& found = table_[expected_++];
      found.fate = Fate::taken;
      value = found.value;
      return true;
    }
    return mayHave(key) && takeFromAnywhere(key, value);
  }

  void makeTable();
  bool takeFromAnywhere(std::string_view key, Cursor& value);

  /// Lets the value taken last, which could not be read, go to `rest`.
  void keepUnreadable(std::string_view key);
  void dropUnreadable(std::string_view key, const Cursor& value);

  /// Fails the record for what could not be read in the value of `key`.
  void failIn(std::string_view key);

  [[nodiscard]] [[gnu::always_inline]] static bool same(std::string_view found,
                                                        std::string_view key) {
    return found.size() == key.size() &&
           __builtin_memcmp(found.data(), key.data(), key.size()) == 0;
  }

  /// A number below 256, seldom the same one for two keys of a record.
  [[nodiscard]] [[gnu::always_inline]] static std::size_t digestOf(std::string_view key) {
    if (key.empty()) return 0;
    const auto letter = [key](std::size_t i) {
      return std::size_t{static_cast<unsigned char>(key[i])};
    };
    const std::size_t last = key.size() - 1;
    return (key.size() + 5 * letter(0) + 11 * letter(last) + 19 * letter(last / 2)) & 255U;
  }
  [[nodiscard]] [[gnu::always_inline]] bool mayHave(std::string_view key) const {
    const std::size_t digest = digestOf(key);
    return (digests_[digest / 64] >> (digest % 64) & 1U) != 0;
  }

  Problem& problem_;
  Cursor object_;
  Cursor::Members members_;  ///< those not taken yet, while there is no table
  bool succeeded_ = true;
  Found* table_ = nullptr;                ///< all members, once they were looked for out of order
  std::size_t expected_ = 0;              ///< the member behind the one taken last
  std::size_t count_ = 0;                 ///< of the members in the table
  std::array<std::uint64_t, 4> digests_;  ///< of their keys, a bit for each that occurs
  // The table, unless it is in `many_`. Where there is none it stays uninitialised: most records
  // have few members, and there are very many records.
  union {
    std::array<Found, 48> few_;
  };
  std::vector<Found> many_;
};

/// The writing half of a description.
class RecordWriter {
 public:
  static constexpr bool reading = false;

  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init)
  explicit RecordWriter(Writer& writer) : writer_(writer) {}

  template <class Member, class... Rules>
  void required(std::string_view key, const Member& member, const Rules&... rules) {
    put(key, member, rules...);
  }

  template <class Member, class... Rules>
  void field(std::string_view key, const Member& member, const Rules&... rules) {
    if constexpr (detail::isOptional<Member>) {
      if (member) put(key, *member, rules...);
    } else {
      put(key, member, rules...);
    }
  }

  template <class Member>
  void requiredIfPresent(std::string_view key, const Member& member) {
    put(key, member);
  }

  /// Writes the members of `extra` whose keys were not written before.
  void rest(const Object& extra);
  void rest(const Extra& extra) { rest(extra.members()); }

 private:
  template <class Member, class Rule>
  void put(std::string_view key, const Member& member, const Rule& rule) {
    if constexpr (requires { rule.written(member); }) {
      put(key, rule.written(member));
    } else {
      put(key, member);
    }
  }

  template <class Member>
  void put(std::string_view key, const Member& member) {
    if (writtenCount_ < written_.size()) std::construct_at(&written_[writtenCount_++], key);
    writer_.plainKey(key);
    write(writer_, member);
  }

  Writer& writer_;
  std::size_t writtenCount_ = 0;
  union {  // the first `writtenCount_` are set
    std::array<std::string_view, 64> written_;
  };
};

template <class Record>
bool readRecord(Cursor cursor, Record& record, Problem& problem) {
  if (cursor.kind() != Kind::object) return detail::wrongKind(problem, "an object");
  RecordReader reader(cursor, problem);
  Record::describe(reader, record);
  return reader.succeeded();
}

template <class Record>
void writeRecord(Writer& writer, const Record& record) {
  writer.beginObject();
  RecordWriter recordWriter(writer);
  Record::describe(recordWriter, record);
  writer.endObject();
}

/// Reads one record from a JSON text. The failure's reason names the place.
template <class Record>
[[nodiscard]] Result<Record> fromText(std::string_view text) {
  const Document document = VT_TRY(Document::parse(text));
  Record record{};
  Problem problem;
  if (!read(document.root(), record, problem)) {
    return failed(FailureKind::malformed, problem.sentence());
  }
  return record;
}

template <class Record>
[[nodiscard]] std::string toText(const Record& record) {
  Writer writer;
  write(writer, record);
  return writer.take();
}

}  // namespace vantorel::json

/// Declares the JSON functions of a record; stands beside it, in namespace vantorel.
#define VT_JSON_RECORD_DECLARATION(Record)                                                        \
  bool read(::vantorel::json::Cursor cursor, Record& record, ::vantorel::json::Problem& problem); \
  void write(::vantorel::json::Writer& writer, const Record& record)

/// Defines them; stands in the record's .cpp behind its description.
#define VT_JSON_RECORD(Record)                                                                     \
  bool read(::vantorel::json::Cursor cursor, Record& record, ::vantorel::json::Problem& problem) { \
    return ::vantorel::json::readRecord(cursor, record, problem);                                  \
  }                                                                                                \
  void write(::vantorel::json::Writer& writer, const Record& record) {                             \
    ::vantorel::json::writeRecord(writer, record);                                                 \
  }
