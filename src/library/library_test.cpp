#include "library/library.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "library/testing/test_library.hpp"
#include "platform/testing/quiet_log.hpp"

namespace vantorel {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

std::string indexWith(const std::string& id) {
  return R"({"version":4,"entries":[{"id":")" + id + R"(","capturedAt":1,"path":"/a.png"}],)" +
         R"("collections":[]})";
}

TEST(LibraryTest, WhatAnotherProcessHasIsReadAnewForWhoeverLooks) {
  QuietLog quiet;
  TestLibrary run;
  run.files->folders = {"/", "/data"};
  run.files->put("/data/history.json", indexWith("first"));
  auto other = run.files->lock("/data/history.lock");
  run.library.stopWaiting();
  run.library.open();
  run.runners.run();
  ASSERT_TRUE(run.library.isReady());
  std::vector<std::string> seen;
  const auto look = [&] {
    run.library.whenUpToDate([&] { seen.push_back(run.store.newest()->id); });
  };
  // As a look in vain begins, and a moment after: neither gets what was read before.
  run.files->put("/data/history.json", indexWith("second"));
  look();
  run.runners.main()->postAfter(1s, look);
  run.runners.advance(1s);
  EXPECT_THAT(seen, ElementsAre("second"));
  run.files->put("/data/history.json", indexWith("third"));
  // Another one, as the look begins that gets the library.
  run.runners.main()->postAfter(1s, look);
  other->reset();
  run.runners.advance(1s);
  EXPECT_THAT(seen, ElementsAre("second", "third", "third"));
  EXPECT_EQ(run.store.indexRefusal(), std::nullopt);
}

}  // namespace
}  // namespace vantorel
