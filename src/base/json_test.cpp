#include <gtest/gtest.h>

#include "base/json_record.hpp"

namespace vantorel {
namespace {

enum class Fruit { apple, pear };

}  // namespace
template <>
inline constexpr auto enumNames<Fruit> = std::to_array<EnumName<Fruit>>({
    {Fruit::apple, "apple"},
    {Fruit::pear, "pear"},
});
namespace {

struct Basket {
  std::string id;
  Fruit fruit = Fruit::apple;
  std::optional<int> count;
  std::vector<double> weights;
  bool ripe = false;
  json::Object extra;

  template <class V, class S>
  static void describe(V& v, S& basket) {
    v.required("id", basket.id);
    v.field("fruit", basket.fruit);
    v.field("count", basket.count, json::Clamp{3, 12});
    v.field("weights", basket.weights);
    v.field("ripe", basket.ripe);
    v.rest(basket.extra);
  }
};
VT_JSON_RECORD(Basket)

std::string roundTrip(const std::string& text) {
  auto basket = json::fromText<Basket>(text);
  return basket ? json::toText(*basket) : basket.error().reason;
}

TEST(JSONRecordTest, ReadsTolerantlyAndLosesNothing) {
  EXPECT_EQ(roundTrip(R"({"id":"a"})"), R"({"id":"a","fruit":"apple","weights":[],"ripe":false})");
  EXPECT_EQ(roundTrip(R"({"later":{"z":[1,1.0,null]},"id":"a","fruit":"pear","count":40,)"
                      R"("weights":[1,"x",2.5],"ripe":"yes"})"),
            R"({"id":"a","fruit":"pear","count":12,"weights":[1,2.5],"ripe":false,)"
            R"("later":{"z":[1,1.0,null]}})");
  EXPECT_EQ(roundTrip(R"({"id":"a","count":"many"})"),
            R"({"id":"a","fruit":"apple","weights":[],"ripe":false,"count":"many"})");
  EXPECT_EQ(roundTrip(R"({"id":"a","id":"b","ripe":true,"ripe":false})"),
            R"({"id":"a","fruit":"apple","weights":[],"ripe":true})");
  EXPECT_EQ(roundTrip(R"({"fruit":"pear"})"), "id: is missing");
  EXPECT_EQ(roundTrip(R"({"id":7})"), "id: must be a string");
}

TEST(JSONRecordTest, OfARepeatedKeyOneValueCountsAlsoWhenItCannotBeRead) {
  const std::string once = roundTrip(
      R"({"fruit":"pear","id":"a","fruit":"plum","count":"x","count":5,"new":1,"new":2})");
  EXPECT_EQ(roundTrip(once), once);
  EXPECT_EQ(once, R"({"id":"a","fruit":"apple","weights":[],"ripe":false,"count":"x","new":1})");
}

TEST(JSONRecordTest, NumbersNoMachineHoldsStayUnderUnknownKeysAndClampUnderKnownOnes) {
  EXPECT_EQ(roundTrip(R"({"id":"a","great":18446744073709551616,"greater":-1e400,"u":1e-5000,)"
                      R"("text":"number:5","c":"\"1e999"})"),
            R"({"id":"a","fruit":"apple","weights":[],"ripe":false,"great":18446744073709551616,)"
            R"("greater":-1e400,"u":1e-5000,"text":"number:5","c":"\"1e999"})");
  EXPECT_EQ(
      roundTrip(
          R"({"id":"a","count":99999999999999999999,"weights":[1e400,18446744073709551615]})"),
      R"({"id":"a","fruit":"apple","count":12,)"
      R"("weights":[1.7976931348623157e+308,1.8446744073709552e+19],"ripe":false})");
}

TEST(JSONDocumentTest, RefusesWhatIsNotJSON) {
  for (const char* bad : {"", "{", "{} x", "[1,]", "\"\\q\"", "[01]", "[1e400,01]", "[-]",
                          "\"\xFF\"", "[1e400e]", "nul"}) {
    EXPECT_FALSE(json::parseValue(bad).has_value()) << bad;
  }
  EXPECT_FALSE(json::parseValue(std::string(5000, '[') + std::string(5000, ']')).has_value());
}

TEST(JSONDocumentTest, SaysInWhichLineAFaultIsAndReadsPastAMark) {
  for (const auto& [text, line] : std::vector<std::pair<std::string, int>>{
           {"{\n\"a\": 1\n\"b\": 2}\n", 3},
           {"[1,\n2,\n]", 3},
           {"{\"a\":\n\n[tru]}", 3},
           {"{\"a\": 1}\n}", 2},
           {"\n\n[\"cut", 3},
           {"{\"a\" 1}", 1},
           {"\xEF\xBB\xBF[\n1 2]", 2},
       }) {
    const auto parsed = json::parseValue(text);
    ASSERT_FALSE(parsed) << text;
    EXPECT_TRUE(parsed.error().reason.ends_with(", in line " + std::to_string(line)))
        << text << ": " << parsed.error().reason;
  }
  EXPECT_TRUE(json::parseValue("\xEF\xBB\xBF{\"a\": 1}"));
}

TEST(JSONWriterTest, WhatItWritesItReadsBackTheSame) {
  JSONValue::Array numbers;
  for (const double number :
       {0.0, -0.0, 0.1, 1e17, 9e18, 1.8446744073709552e19, 1e300, 5e-324, -3.5}) {
    numbers.push_back({number});
  }
  numbers.push_back({std::numeric_limits<std::int64_t>::min()});
  numbers.push_back({std::string("tab\t quote\" nul\0 bad\xC3 end", 25)});
  const std::string once = json::toText(JSONValue{numbers});
  const auto back = json::parseValue(once);
  ASSERT_TRUE(back.has_value()) << once;
  EXPECT_EQ(json::toText(*back), once);
  EXPECT_NE(once.find("bad\xEF\xBF\xBD end"), std::string::npos) << once;
}

}  // namespace
}  // namespace vantorel
