#pragma once

#include <array>
#include <concepts>
#include <cstdint>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "base/enum_names.hpp"
#include "base/json_document.hpp"
#include "base/json_value.hpp"
#include "base/json_writer.hpp"
#include "base/rare.hpp"

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
//  - numbers are clamped to the range of their type;
//  - an item of a list or map that cannot be read is dropped, the others stay;
//  - of a repeated key one value counts, the others are dropped.
// Writing leaves out empty optionals and nothing else.

namespace vantorel::json {

/// Why a record could not be read, with the path to the place: "entries[3].shapes[0].type: ...".
struct Problem {
  std::string path;
  std::string description;

  void in(std::string_view key);
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

bool read(Cursor cursor, bool& value, Problem& problem);
bool read(Cursor cursor, int& value, Problem& problem);
bool read(Cursor cursor, std::int64_t& value, Problem& problem);
bool read(Cursor cursor, double& value, Problem& problem);
bool read(Cursor cursor, float& value, Problem& problem);
bool read(Cursor cursor, std::string& value, Problem& problem);
bool read(Cursor cursor, JSONValue& value, Problem& problem);

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
  if (!found) {
    problem.description = "must be one of " + allNames<Enum>();
    return false;
  }
  value = *found;
  return true;
}

template <NamedEnum Enum>
void write(Writer& writer, Enum value) {
  writer.value(nameOf(value));
}

template <class Item>
bool read(Cursor cursor, std::vector<Item>& list, Problem& problem) {
  if (cursor.kind() != Kind::array) {
    problem.description = "must be a list";
    return false;
  }
  list.clear();
  Cursor item;
  for (auto items = cursor.items(); items.next(item);) {
    Item value{};
    Problem dropped;
    if (read(item, value, dropped)) list.push_back(std::move(value));
  }
  return true;
}

template <class Item>
void write(Writer& writer, const std::vector<Item>& list) {
  writer.beginArray();
  for (const Item& item : list) write(writer, item);
  writer.endArray();
}

template <class Item>
bool read(Cursor cursor, std::map<std::string, Item>& map, Problem& problem) {
  if (cursor.kind() != Kind::object) {
    problem.description = "must be an object";
    return false;
  }
  map.clear();
  std::string_view key;
  Cursor member;
  for (auto members = cursor.members(); members.next(key, member);) {
    Item value{};
    Problem dropped;
    if (read(member, value, dropped)) map.insert_or_assign(std::string(key), std::move(value));
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
inline constexpr bool isOptional<Rare<T>> = true;
}  // namespace detail

/// The reading half of a description: finds the described keys in one JSON object.
class RecordReader {
 public:
  static constexpr bool reading = true;

  RecordReader(Cursor object, Problem& problem);

  /// False once a required key could not be read; `problem` then says which and why.
  [[nodiscard]] bool succeeded() const { return succeeded_; }

  template <class Member, class... Rules>
  void required(std::string_view key, Member& member, const Rules&... rules) {
    if (!succeeded_) return;
    Found* const found = take(key);
    if (found == nullptr) {
      fail(key, "is missing");
      return;
    }
    if (!read(found->value, member, problem_)) {
      problem_.in(key);
      succeeded_ = false;
      return;
    }
    (rules(member), ...);
  }

  template <class Member, class... Rules>
  void field(std::string_view key, Member& member, const Rules&... rules) {
    if (!succeeded_) return;
    Found* const found = take(key);
    if (found == nullptr) return;
    Problem dropped;
    if constexpr (detail::isOptional<Member>) {
      if (found->value.kind() == Kind::null) return;
      typename Member::value_type value{};
      if (read(found->value, value, dropped)) {
        member = std::move(value);
      } else {
        found->fate = Fate::unreadable;
        return;
      }
    } else {
      Member value{};
      if (!read(found->value, value, dropped)) return;
      member = std::move(value);
    }
    (rules(member), ...);
  }

  /// As `required`, but the key may be missing.
  template <class Member>
  void requiredIfPresent(std::string_view key, Member& member) {
    if (!succeeded_) return;
    const Found* const found = take(key);
    if (found == nullptr || read(found->value, member, problem_)) return;
    problem_.in(key);
    succeeded_ = false;
  }

  /// The raw value of `key`, for records that look at it in their own way; null when absent. The
  /// key does not appear in `rest`.
  [[nodiscard]] const Cursor* raw(std::string_view key);

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

  Found* take(std::string_view key);
  [[nodiscard]] Found* begin();

  Problem& problem_;
  bool succeeded_ = true;
  std::size_t count_ = 0;
  std::size_t expected_ = 0;
  // The first `count_` are set, unless all moved to `many_`. The others stay uninitialised: most
  // records have few members, and there are very many records.
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
  void required(std::string_view key, const Member& member, const Rules&...) {
    put(key, member);
  }

  template <class Member, class... Rules>
  void field(std::string_view key, const Member& member, const Rules&...) {
    if constexpr (detail::isOptional<Member>) {
      if (member) put(key, *member);
    } else {
      put(key, member);
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
  template <class Member>
  void put(std::string_view key, const Member& member) {
    if (writtenCount_ < written_.size()) std::construct_at(&written_[writtenCount_++], key);
    writer_.key(key);
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
  if (cursor.kind() != Kind::object) {
    problem.description = "must be an object";
    return false;
  }
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
[[nodiscard]] Result<Record> fromText(std::string text) {
  const Document document = VT_TRY(Document::parse(std::move(text)));
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
