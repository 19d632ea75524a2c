#include "capture/staging_folder.hpp"

#include <gtest/gtest.h>

#include <utility>

#include "platform/testing/fake_files.hpp"

namespace vantorel {
namespace {

constexpr double now = 1'000'000;

std::shared_ptr<Files> shared(FakeFiles& files) {
  return {&files, [](Files*) {}};
}

TEST(StagingFolderTest, WhatALivingProcessStagesIsNotALeftover) {
  for (const bool attributes : {true, false}) {
    FakeFiles files;
    files.keepsAttributes = attributes;
    StagingFolder mine(shared(files), "/staged");
    StagingFolder others(shared(files), "/staged");
    bool isSweeping = false;
    files.beforeChange = [&](int) {
      if (std::exchange(isSweeping, true)) return;
      others.removeLeftovers();
      isSweeping = false;
    };
    for (int i = 0; i < 2; ++i) {
      StagedCaptureRecord record;
      record.entryID = std::to_string(i);
      const auto staged = mine.stage("picture", now, record);
      ASSERT_TRUE(staged.has_value()) << staged.error().reason;
    }
    const auto found = others.staged();
    ASSERT_TRUE(found.has_value());
    ASSERT_EQ(found->size(), 2U);
    EXPECT_EQ((*found)[0].record.entryID, "0");
    EXPECT_EQ((*found)[1].record.entryID, "1");
  }
}

TEST(StagingFolderTest, TwoProcessesNeverStageUnderOneName) {
  FakeFiles files;
  StagingFolder mine(shared(files), "/staged");
  StagingFolder others(shared(files), "/staged");
  std::optional<Path> other;
  files.beforeChange = [&](int change) {
    if (change != 3) return;
    other = others.stage("another", now, {})->path;
  };
  const auto staged = mine.stage("picture", now, {});
  ASSERT_TRUE(staged.has_value() && other.has_value());
  EXPECT_NE(staged->path, *other);
  EXPECT_EQ(files.text(staged->path), "picture");
  EXPECT_EQ(files.text(*other), "another");
}

TEST(StagingFolderTest, WhatADeadProcessLeftGoesUnlessItIsWhole) {
  struct Ended {};
  for (const bool attributes : {true, false}) {
    for (int end = 1, isEnded = 1; isEnded != 0; ++end) {
      ASSERT_LT(end, 20);
      isEnded = 0;
      FakeFiles files;
      files.keepsAttributes = attributes;
      StagingFolder folder(shared(files), "/staged");
      files.beforeChange = [&](int change) {
        if (change == end) throw Ended{};
      };
      try {
        ASSERT_TRUE(folder.stage("picture", now, {}).has_value());
      } catch (const Ended&) {
        isEnded = 1;
      }
      files.beforeChange = {};
      folder.removeLeftovers();
      const auto whole = folder.staged();
      ASSERT_TRUE(whole.has_value());
      EXPECT_EQ(files.names("/staged").size(), whole->size() * (attributes ? 1 : 2)) << end;
      EXPECT_TRUE(isEnded == 1 || whole->size() == 1);
    }
  }
}

}  // namespace
}  // namespace vantorel
