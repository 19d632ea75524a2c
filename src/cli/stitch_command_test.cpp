#include "cli/stitch_command.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "cli/command_line.hpp"
#include "platform/testing/fake_files.hpp"
#include "platform/testing/fake_image_codec.hpp"

namespace vantorel {
namespace {

using testing::HasSubstr;

/// Rows of cells in many greys, no two stretches alike.
Image partOfPage(int top, PixelSize size) {
  MutableImage page(size, PixelFormat::bgrx);
  for (int y = 0; y < size.height; ++y) {
    auto row = page.row(y);
    for (int x = 0; x < size.width; ++x) {
      auto cell = static_cast<std::uint32_t>((top + y) / 3 * 7919 + x / 5 * 104'729);
      cell = (cell ^ cell >> 13U) * 0x5BD1E995U;
      cell = (cell ^ cell >> 15U) * 0x2C1B3C6DU;
      const auto at = static_cast<std::size_t>(x) * 4;
      row[at] = row[at + 1] = row[at + 2] = static_cast<std::uint8_t>(cell >> 24U);
    }
  }
  return std::move(page).finish();
}

class StitchCommandTest : public testing::Test {
 protected:
  StitchCommandTest() { files.folders.insert("/home"); }

  void put(const std::string& name, int top, PixelSize size = {320, 300}) {
    files.put("/home/" + name, *codec.encode(partOfPage(top, size), {}));
  }
  CommandReply run(std::vector<std::string> words) {
    words.insert(words.begin(), "stitch");
    const bool json = std::ranges::find(words, "--json") != words.end();
    const auto parsed = parseCommandLine(std::move(words), "/home");
    const auto* const line = std::get_if<CommandLine>(&parsed);
    if (line == nullptr || line->stitched() == nullptr) {
      ADD_FAILURE();
      return {};
    }
    EXPECT_FALSE(line->needsLibrary() || line->needsWindows());
    return stitchFrames(*line->stitched(), json, files, codec);
  }

  FakeFiles files;
  FakeImageCodec codec;
};

TEST_F(StitchCommandTest, FramesBecomeOnePictureAndWhatWasFoundIsPrinted) {
  put("a.png", 0);
  put("b.png", 70);
  put("still.png", 70);
  put("c.png", 150);
  const CommandReply done = run({"a.png", "b.png", "still.png", "c.png", "--output", "tall.png"});
  EXPECT_EQ(done.status, ExitStatus::done) << done.error;
  EXPECT_EQ(done.output, "/home/tall.png\n");
  EXPECT_EQ(done.error, "");
  const auto tall = codec.decode(files.text("/home/tall.png"));
  ASSERT_TRUE(tall);
  ASSERT_EQ(tall->size(), (PixelSize{320, 450}));
  const Image page = partOfPage(0, {320, 450});
  for (int y = 0; y < 450; ++y) {
    ASSERT_TRUE(std::ranges::equal(tall->row(y), page.row(y))) << y;
  }

  const CommandReply refused = run({"a.png", "b.png", "--output", "tall.png"});
  EXPECT_EQ(refused.status, ExitStatus::failed);
  EXPECT_THAT(refused.error, HasSubstr("/home/tall.png is there already"));
  EXPECT_THAT(run({"a.png", "b.png", "--output", "./b.png", "--force"}).error,
              HasSubstr("a file it is made from"));
  const CommandReply explained =
      run({"a.png", "b.png", "still.png", "--output", "tall.png", "--force", "--explain"});
  EXPECT_EQ(explained.status, ExitStatus::done);
  EXPECT_EQ(std::ranges::count(explained.output, '\n'), 2);
  EXPECT_THAT(explained.output,
              testing::StartsWith(R"({"frame":"/home/b.png","verdict":"joined","offset":70,)"));
  EXPECT_THAT(explained.output, HasSubstr(R"("position":70,"height":370)"));
  EXPECT_THAT(explained.output, HasSubstr(R"("verdict":"noMovement")"));
}

TEST_F(StitchCommandTest, NothingIsWrittenOfWhatCannotBeJoined) {
  put("a.png", 0);
  put("far.png", 5000);
  put("b.png", 60);
  put("low.png", 60, {320, 280});
  files.put("/home/words.png", "no picture");
  const auto expectFailure = [&](std::vector<std::string> frames, const std::string& words) {
    frames.insert(frames.end(), {"--output", "tall.png"});
    const CommandReply reply = run(std::move(frames));
    EXPECT_EQ(reply.status, ExitStatus::failed);
    EXPECT_THAT(reply.error, HasSubstr(words));
    EXPECT_FALSE(files.status("/home/tall.png"));
  };
  expectFailure({"a.png", "gone.png"}, "/home/gone.png can't be read: ");
  expectFailure({"a.png", "words.png"}, "/home/words.png can't be read: ");
  expectFailure({"a.png", "low.png"}, "/home/low.png is 320 x 280 pixels and the frames before");
  expectFailure({"a.png", "a.png"}, "the same part of the page");
  expectFailure({"a.png", "far.png"}, "No frame could be joined");

  const CommandReply some = run({"a.png", "far.png", "b.png", "--output", "tall.png"});
  EXPECT_EQ(some.status, ExitStatus::done);
  EXPECT_THAT(some.error, HasSubstr("/home/far.png is left out: it shares too little"));
  EXPECT_EQ(codec.pixelSize(files.text("/home/tall.png"))->height, 360);
}

}  // namespace
}  // namespace vantorel
