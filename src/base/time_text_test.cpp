#include "base/time_text.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <string>

namespace vantorel {
namespace {

TEST(TimeTextTest, WhatTheTableShowsIsReadBackAndNonsenseIsNot) {
  for (const double moment : {0.0, 1772360000.0, 1783000000.0, 1793000059.0}) {
    EXPECT_EQ(parseLocalTime(tableTime(moment)), moment) << tableTime(moment);
  }
  EXPECT_EQ(tableTime(*parseLocalTime("2026-03-01")), "2026-03-01 00:00:00");
  EXPECT_EQ(tableTime(*parseLocalTime("2028-02-29T14:05")), "2028-02-29 14:05:00");
  for (const char* const text :
       {"", "2026", "2026-03", "2026-03-01 14", "2026-3-1", "2026-02-29", "2026-13-01",
        "2026-03-01 24:00", "2026-03-01 14:60", "2026-03-01 14:05:61", "2026-03-01 14:05:09 ",
        "2026-03--1", "2026-03-01 -1:05", "26-03-01"}) {
    EXPECT_EQ(parseLocalTime(text), std::nullopt) << text;
  }
}

TEST(TimeTextTest, AZoneThatChangesUnderTheRunningProgramCountsAtOnce) {
  const char* const set = std::getenv("TZ");
  const std::optional<std::string> before = set == nullptr ? std::nullopt : std::optional(set);
  ::setenv("TZ", "UTC0", 1);
  EXPECT_EQ(fileNameTime(1'772'373'909), "2026-03-01 at 14.05.09");
  ::setenv("TZ", "EAST-5", 1);
  EXPECT_EQ(fileNameTime(1'772'373'909), "2026-03-01 at 19.05.09");
  EXPECT_EQ(exifTime(1'772'373'909), "2026:03:01 19:05:09");
  before ? ::setenv("TZ", before->c_str(), 1) : ::unsetenv("TZ");
}

}  // namespace
}  // namespace vantorel
