#include "base/path_text.hpp"

#include <gtest/gtest.h>

#include <random>

#include "base/json_record.hpp"
#include "base/utf8.hpp"

namespace vantorel {
namespace {

struct Places {
  std::string path;
  std::optional<std::string> original;
  std::vector<std::string> others;

  template <class V, class S>
  static void describe(V& v, S& places) {
    v.required("path", places.path, json::asPath);
    v.field("original", places.original, json::asPath);
    v.field("others", places.others, json::asPath);
  }
};
VT_JSON_RECORD(Places)

TEST(PathTextTest, AnyPathComesBackFromARecordByteForByte) {
  std::mt19937 random(11);
  const std::vector<std::string> pieces{
      "/",  "a",       "%",     "%41", "\xE4", "\xED\xA0\x80", "\xFF", "\xC3\xA4", "\n",
      "\"", "file://", "file:", " ",   "?#&",  "\x01",         "\\",   "\xF0\x9F"};
  for (int round = 0; round < 3000; ++round) {
    std::string path;
    while (random() % 8 != 0) path += pieces[random() % pieces.size()];
    while (random() % 4 == 0) path += static_cast<char>(1 + random() % 255);
    const std::string text = json::toText(Places{path, path, {path, "/plain", path}});
    ASSERT_TRUE(isUtf8(text));
    const auto read = json::fromText<Places>(text);
    ASSERT_TRUE(read.has_value()) << read.error().reason;
    ASSERT_EQ(read->path, path);
    ASSERT_EQ(read->original, path);
    ASSERT_EQ(read->others, (std::vector<std::string>{path, "/plain", path}));
  }
}

TEST(PathTextTest, WhatIsTextStaysAsItIsAndTheRestIsAURI) {
  EXPECT_EQ(textOfPath("/home/me/100% Bär?.png"), "/home/me/100% Bär?.png");
  EXPECT_EQ(textOfPath("/home/me/B\xE4r 1.png"), "file:///home/me/B%E4r%201.png");
  for (const std::string text :
       {"file:///a%", "file:///a%4", "file:///a%zz", "file:///a%00", "file:"}) {
    EXPECT_EQ(pathOfText(text), text);
  }
}

}  // namespace
}  // namespace vantorel
