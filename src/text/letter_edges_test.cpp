#include "text/letter_edges.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>

namespace vantorel {
namespace {

OCRLine lineOf(std::string text, std::string letters) {
  OCRLine line;
  line.text = std::move(text);
  line.letters = std::move(letters);
  return line;
}

TEST(LetterEdgesTest, AnyLineComesBackToWithinAFortieth) {
  std::mt19937 random(11);
  std::uniform_real_distribution<double> width(0, 1.2);
  for (int round = 0; round < 500; ++round) {
    std::string text;
    std::vector<double> edges{round % 3 == 0 ? width(random) / 8 : 0};
    const int letters = 1 + round;
    for (int i = 0; i < letters; ++i) {
      text += i % 7 == 0 ? "\u00e9" : i % 5 == 0 ? " " : "x";
      // Columns of a table are far from each other, and accents have no width.
      const double gap = i % 50 == 49 ? 700 * width(random) : i % 11 == 10 ? 0 : width(random);
      edges.push_back(edges.back() + gap);
    }
    const double aspect = std::max(edges.back(), 0.1);
    const std::string encoded = encodedLetters(edges);
    EXPECT_EQ(encoded.find_first_of("\"\\"), std::string::npos);
    EXPECT_LE(encoded.size(), edges.size() + 3 * (edges.size() / 50 + 1));
    const std::vector<double> decoded = letterEdges(lineOf(text, encoded), aspect);
    ASSERT_EQ(decoded.size(), edges.size());
    EXPECT_TRUE(std::ranges::is_sorted(decoded));
    for (std::size_t i = 0; i < edges.size(); ++i) {
      EXPECT_NEAR(decoded[i] * aspect, edges[i], 1.0 / 40) << round << ", letter " << i;
    }
  }
}

TEST(LetterEdgesTest, WhatDoesNotFitItsTextSaysNothing) {
  const std::string letters = encodedLetters({0, 0.5, 1, 1.5});
  EXPECT_EQ(letterEdges(lineOf("abc", letters), 1.5).size(), 4);
  EXPECT_TRUE(letterEdges(lineOf("abc", ""), 1.5).empty());
  EXPECT_TRUE(letterEdges(lineOf("ab", letters), 1.5).empty());
  EXPECT_TRUE(letterEdges(lineOf("abcd", letters), 1.5).empty());
  // Those of a line of another width would put a cover beside what it covers.
  EXPECT_TRUE(letterEdges(lineOf("abc", letters), 4).empty());
  EXPECT_TRUE(letterEdges(lineOf("abc", "!!!!"), 1.5).empty());
  EXPECT_TRUE(letterEdges(lineOf("abc", letters), 0).empty());
  EXPECT_TRUE(
      letterEdges(lineOf("abc", letters), std::numeric_limits<double>::quiet_NaN()).empty());
}

TEST(LetterEdgesTest, OutsideTextIsTakenOrLeft) {
  std::mt19937 random(5);
  int taken = 0;
  for (int round = 0; round < 20'000; ++round) {
    std::string letters;
    const std::size_t length = random() % 9;
    for (std::size_t i = 0; i < length; ++i) {
      const bool isUsual = random() % 8 != 0;
      letters += static_cast<char>(isUsual ? 33 + random() % 94 : random() % 256);
    }
    const std::vector<double> edges = letterEdges(lineOf("abc", letters), 1 + round % 9);
    if (edges.empty()) continue;
    ++taken;
    ASSERT_EQ(edges.size(), 4);
    EXPECT_TRUE(std::ranges::is_sorted(edges));
    EXPECT_GE(edges.front(), 0);
    EXPECT_EQ(edges.back(), 1);
  }
  EXPECT_GT(taken, 10);
  const double infinity = std::numeric_limits<double>::infinity();
  EXPECT_EQ(encodedLetters({-1, infinity, 0.5, 1e300}).size(), 3 + 4);
}

}  // namespace
}  // namespace vantorel
