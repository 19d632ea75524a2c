#include "app/capture_rewriter.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "library/testing/test_library.hpp"
#include "platform/testing/fake_defaults_store.hpp"
#include "platform/testing/fake_image_codec.hpp"
#include "platform/testing/lazy_unmount.hpp"
#include "platform/testing/quiet_log.hpp"

namespace vantorel {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

struct Ended {};

/// A run of the program on a disk that outlives it.
struct OpeningSession : TestLibrary {
  explicit OpeningSession(const std::shared_ptr<FakeFiles>& disk) : TestLibrary(disk) {
    library.open();
  }

  std::string answer = "none";
  CaptureRewriter::Done answering() {
    return [this](const RewriteReply& reply) {
      answer = reply ? reply->remark : sentence(reply.error());
    };
  }

  void convert(ExportFormat format) {
    rewriter.convert("a", format, answering());
    runners.run();
  }
  void compress() {
    rewriter.compress("a", false, answering());
    runners.run();
  }

  std::shared_ptr<FakeImageCodec> codec = std::make_shared<FakeImageCodec>();
  FakeDefaultsStore defaults;
  SettingsStore settings{defaults, SettingsValues{}};
  PendingArchiveWork pending;
  SurfaceRegistry surfaces{runners.main()};
  CaptureRewriter rewriter{{.main = runners.main(),
                            .work = runners.runner("work"),
                            .files = files,
                            .codec = codec,
                            .library = &library,
                            .settings = &settings,
                            .pendingWork = &pending,
                            .surfaces = &surfaces}};
};

/// The same once its library is ready.
struct Session : OpeningSession {
  explicit Session(const std::shared_ptr<FakeFiles>& disk) : OpeningSession(disk) { runners.run(); }
};

class CaptureRewriterTest : public testing::Test {
 protected:
  /// The flat picture that a palette suits.
  static std::string picture() {
    MutableImage image({48, 30}, PixelFormat::bgrx);
    for (int y = 0; y < 30; ++y) {
      for (std::size_t i = 0; i < image.row(y).size(); ++i) {
        image.row(y)[i] = i % 4 == 3 ? 0 : static_cast<std::uint8_t>(i / 50);
      }
    }
    return FakeImageCodec().encode(std::move(image).finish(), {}).value();
  }

  static std::shared_ptr<FakeFiles> disk() {
    auto files = std::make_shared<FakeFiles>();
    files->put("/captures/a.png", picture());
    files->put("/captures/.mine.partial", "somebody else's");
    files->put("/data/history.json", R"({"version":4,"entries":[{"id":"a","capturedAt":1,)"
                                     R"("path":"/captures/a.png"}],"collections":[]})");
    return files;
  }

  /// Everything in the folders is named by the entry, and everything it names is whole.
  static void expectTidy(Session& run, const std::string& what) {
    expectOnlyNamed(run, what);
    EXPECT_EQ(run.files->text("/data/rewrites.json"), "(missing)") << what;
  }

  /// The same, and a journal may be left.
  static void expectOnlyNamed(Session& run, const std::string& what) {
    const EntryPointer entry = run.library.store().find("a");
    ASSERT_NE(entry, nullptr) << what;
    std::set<std::string> named{"/captures/.mine.partial", entry->path};
    if (entry->originalPath) named.insert(*entry->originalPath);
    EXPECT_TRUE(run.codec->header(run.files->text(entry->path)).has_value()) << what;
    EXPECT_EQ(run.files->text(entry->originalPath.value_or(entry->path)), picture())
        << what << ": the picture as it was taken";
    std::set<std::string> found;
    for (const Path folder : {"/captures", "/data/Originals"}) {
      for (const std::string& name : run.files->names(folder)) {
        found.insert((folder / name).string());
      }
    }
    EXPECT_EQ(found, named) << what;
    EXPECT_THAT(run.library.store().claims().fileChanges(), IsEmpty()) << what;
  }

  QuietLog quiet;
};

TEST_F(CaptureRewriterTest, EndAtAnyChangeLeavesOneCaptureWithItsOriginalAndNothingElse) {
  struct Disk {
    bool hasHardLinks = true;
    bool numbersAnew = false;  // when it is mounted again
  };
  for (const Disk& kind :
       {Disk{}, Disk{.hasHardLinks = false}, Disk{.hasHardLinks = false, .numbersAnew = true}}) {
    for (int end = 1, isEnded = 1; isEnded != 0; ++end) {
      ASSERT_LT(end, 80);
      isEnded = 0;
      const auto files = disk();
      files->hasHardLinks = kind.hasHardLinks;
      auto run = std::make_unique<Session>(files);
      files->beforeChange = [&, from = files->changes](int change) {
        if (change - from == end) throw Ended{};
      };
      try {
        run->compress();
        run->convert(ExportFormat::jpeg);
        run->convert(ExportFormat::webp);
      } catch (const Ended&) {
        isEnded = 1;
      }
      files->beforeChange = {};
      run.reset();
      if (kind.numbersAnew) files->renumber("/captures");
      Session next(files);
      expectTidy(next, std::to_string(end) + (kind.numbersAnew ? " numbered anew" : ""));
    }
  }
}

TEST_F(CaptureRewriterTest, ADiskUnmountedAtAnyChangeIsClearedUpOnceItIsBack) {
  for (const bool isEnded : {false, true}) {
    for (int moment = 1, isReached = 1; isReached != 0; ++moment) {
      ASSERT_LT(moment, 80);
      const auto files = disk();
      files->mounts = {"/captures"};
      files->put("/captures/a.png", picture());
      LazyUnmount captures(*files, "/captures", LazyUnmount::Folder::goes);
      auto run = std::make_unique<Session>(files);
      files->beforeChange = [&, from = files->changes](int change) {
        if (change - from < moment || captures.isAway()) return;
        captures.unmount();
        if (isEnded) throw Ended{};
      };
      try {
        run->compress();
        run->convert(ExportFormat::jpeg);
        run->convert(ExportFormat::webp);
      } catch (const Ended&) {
      }
      isReached = captures.isAway() ? 1 : 0;
      files->beforeChange = {};
      run.reset();
      if (moment % 2 == 0) Session(files).convert(ExportFormat::png);
      if (isReached != 0) {
        EXPECT_THAT(files->names("/captures"), IsEmpty());
      }
      captures.mountAgain();
      Session next(files);
      expectOnlyNamed(next, std::to_string(moment) + (isEnded ? " ended" : ""));
    }
  }
}

TEST_F(CaptureRewriterTest, AFullDiskLeavesTheCaptureAsItWasAndNothingElse) {
  for (const auto format : {ExportFormat::png, ExportFormat::jpeg}) {
    for (int room = 1, isFull = 1; isFull != 0; ++room) {
      ASSERT_LT(room, 40);
      const auto files = disk();
      auto run = std::make_unique<Session>(files);
      files->spaceEndsAtChange = room;
      if (format == ExportFormat::png) {
        run->compress();
      } else {
        run->convert(format);
      }
      isFull = files->changesFail ? 1 : 0;
      files->spaceEndsAtChange = 0;
      files->changesFail.reset();
      run->runners.advance(std::chrono::seconds(70));
      const std::string answer = run->answer;
      run.reset();
      Session next(files);
      expectTidy(next, std::to_string(room) + " " + answer);
    }
  }
}

TEST_F(CaptureRewriterTest, WhatCannotBeRemovedIsToldAndRemembered) {
  const auto files = disk();
  const Path between = "/captures/a.jpg";
  {
    Session run(files);
    run.convert(ExportFormat::jpeg);
    files->readOnly = {"/captures"};
    run.convert(ExportFormat::webp);
    EXPECT_THAT(run.answer, HasSubstr("/captures/a.jpg, could not be removed (read-only"));
    EXPECT_EQ(run.library.store().find("a")->path, "/captures/a.webp");
    run.compress();
    EXPECT_THAT(replacedFilesLeft(*files, run.library.paths()), ElementsAre(between));
  }
  {
    Session still(files);
    EXPECT_THAT(replacedFilesLeft(*files, still.library.paths()), ElementsAre(between));
    still.convert(ExportFormat::png);
    EXPECT_THAT(replacedFilesLeft(*files, still.library.paths()),
                ElementsAre(between, "/captures/a.webp"));
  }
  files->readOnly.clear();
  for (const bool isChanged : {false, true}) {
    const auto copy = std::make_shared<FakeFiles>(*files);
    if (isChanged) copy->put(between, "painted over");
    Session next(copy);
    EXPECT_EQ(copy->text(between), isChanged ? "painted over" : "(missing)");
    EXPECT_EQ(copy->text("/data/rewrites.json"), "(missing)");
  }
}

TEST_F(CaptureRewriterTest, WhatIsLeftOnADiskThatNumbersItsFilesAnewGoesOrIsTold) {
  const Path between = "/captures/a.jpg";
  const auto leave = [&] {
    auto files = disk();
    Session run(files);
    run.convert(ExportFormat::jpeg);
    files->readOnly = {"/captures"};
    run.convert(ExportFormat::webp);
    files->readOnly.clear();
    files->renumber("/captures");
    return files;
  };
  {
    const auto files = leave();
    Session next(files);
    expectTidy(next, "the new file shows that the numbers are others");
  }
  {
    const auto files = leave();
    files->put("/captures/a.webp", "edited");
    Session next(files);
    EXPECT_TRUE(files->disk.contains(between)) << "it may be somebody's copy";
    EXPECT_THAT(replacedFilesLeft(*files, next.library.paths()), ElementsAre(between));
  }
  {
    const auto files = leave();
    files->now += 1;
    files->put(between, files->text(between));
    Session next(files);
    EXPECT_TRUE(files->disk.contains(between)) << "it was written anew";
    EXPECT_EQ(files->text("/data/rewrites.json"), "(missing)");
  }
}

TEST_F(CaptureRewriterTest, NothingIsPutAtANameWhoseRemovalMayStillBeMade) {
  const auto files = disk();
  const Path between = "/captures/a.jpg";
  auto run = std::make_unique<Session>(files);
  const auto convert = [&](ExportFormat format) {
    run->convert(format);
    return run->library.store().find("a")->path;
  };
  (void)convert(ExportFormat::jpeg);
  // The new file has its name, and half files are gone: the removal of the old one is not answered.
  files->silencing = "/captures";
  files->silenceAtMove = 5;
  EXPECT_EQ(convert(ExportFormat::webp), "/captures/a.webp") << run->answer;
  EXPECT_THAT(run->answer, HasSubstr("could not be removed"));
  files->silent.clear();
  ASSERT_TRUE(files->disk.contains(between));
  run = std::make_unique<Session>(files);
  run->runners.advance(std::chrono::seconds(5));
  EXPECT_EQ(convert(ExportFormat::jpeg), "/captures/a 2.jpg");
  EXPECT_FALSE(files->disk.contains(between));
  EXPECT_TRUE(run->codec->header(files->text("/captures/a 2.jpg")).has_value());
  EXPECT_THAT(files->text("/data/rewrites.json"), HasSubstr("doubtful"));
  run->runners.advance(std::chrono::seconds(61));
  (void)convert(ExportFormat::webp);
  EXPECT_EQ(files->text("/data/rewrites.json"), "(missing)");
}

TEST_F(CaptureRewriterTest, WaitsForEveryRecoveryAndOneAtATime) {
  const auto files = disk();
  // A move that was cut short has the file at its new place already.
  files->put("/new/a.png", picture());
  files->disk["/new/a.png"] = files->disk["/captures/a.png"];
  files->disk.erase("/captures/a.png");
  const FileStatus moved = files->disk["/new/a.png"]->status;
  files->put("/data/relocation.json",
             R"({"version":1,"id":"5A0C0C6E-0000-4000-8000-000000000000","pairs":[)"
             R"({"old":"/captures/a.png","new":"/new/a.png","size":)" +
                 std::to_string(moved.size) + R"(,"modified":)" + std::to_string(moved.modified) +
                 "}]}");
  OpeningSession run(files);
  run.convert(ExportFormat::jpeg);
  const EntryPointer entry = run.library.store().find("a");
  EXPECT_EQ(entry->path, "/new/a.jpg") << run.answer;
  EXPECT_EQ(files->text(entry->originalPath.value_or("")), picture());
  run.rewriter.convert("a", ExportFormat::png, run.answering());
  run.rewriter.convert("a", ExportFormat::webp, run.answering());
  EXPECT_EQ(run.answer, "This capture is being changed already.");
  run.runners.run();
  EXPECT_TRUE(run.pending.isEmpty());
}

}  // namespace
}  // namespace vantorel
