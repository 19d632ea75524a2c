#pragma once

#include <string>
#include <vector>

#include "base/enum_names.hpp"
#include "base/json_record.hpp"

namespace vantorel {

enum class CollectionColor { red, orange, yellow, green, blue, purple, gray };

template <>
inline constexpr auto enumNames<CollectionColor> = std::to_array<EnumName<CollectionColor>>({
    {CollectionColor::red, "red"},
    {CollectionColor::orange, "orange"},
    {CollectionColor::yellow, "yellow"},
    {CollectionColor::green, "green"},
    {CollectionColor::blue, "blue"},
    {CollectionColor::purple, "purple"},
    {CollectionColor::gray, "gray"},
});

enum class CollectionSort { newest, custom };

template <>
inline constexpr auto enumNames<CollectionSort> = std::to_array<EnumName<CollectionSort>>({
    {CollectionSort::newest, "newest"},
    {CollectionSort::custom, "custom"},
});

/// A group of entries made by the user. Entries name the collections they belong to.
struct HistoryCollection {
  std::string id;
  std::string name;
  CollectionColor color = CollectionColor::blue;
  std::string note;
  CollectionSort sort = CollectionSort::newest;
  std::vector<std::string> order;  ///< entry ids, the user's order when `sort` is `custom`
  double createdAt = 0;            ///< seconds since 1970-01-01 UTC
  json::Object extra;

  bool operator==(const HistoryCollection&) const = default;
  template <class V, class S>
  static void describe(V& v, S& collection);
};

/// Reading fails without "id" or "name", and on a colour or order of sorting that is not known.
VT_JSON_RECORD_DECLARATION(HistoryCollection);

}  // namespace vantorel
