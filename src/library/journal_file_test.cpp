#include "library/journal_file.hpp"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

#include "base/log.hpp"
#include "library/history_deletion.hpp"
#include "library/rewrite_journal.hpp"
#include "platform/testing/fake_files.hpp"
#include "platform/testing/fake_runners.hpp"
#include "platform/testing/fake_trash.hpp"

namespace vantorel {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* index = R"({"version":4,"entries":[
  {"id":"a","capturedAt":1,"path":"/captures/a.png"},
  {"id":"b","capturedAt":2,"path":"/captures/b.png"}],"collections":[]})";

class JournalFileTest : public testing::Test {
 protected:
  JournalFileTest() {
    formerSink = setLogSink([this](LogLevel level, std::string_view, std::string_view text) {
      if (level == LogLevel::warning) warnings.append(text).append("\n");
    });
  }
  ~JournalFileTest() override { setLogSink(std::move(formerSink)); }

  std::string warnings;
  LogSink formerSink;
};

/// A library on a disk of its own.
struct Shelf {
  explicit Shelf(const std::map<Path, std::string>& journals, std::string_view indexText = index) {
    files.put("/data/history.json", std::string(indexText));
    for (const char* const name : {"a", "b"}) {
      files.put(Path("/captures") / (std::string(name) + ".png"), name);
    }
    for (const auto& [path, text] : journals) files.put(path, text);
    store.load([] {});
    runners.run();
  }

  void recover() {
    deletion.recover([] {});
    runners.run();
    rewrites.recover(store.entries());
  }

  TrashSweep trashed(const std::string& id) {
    TrashSweep answer;
    deletion.trash({id}, HistoryDeletion::Undo::offered,
                   [&](const TrashSweep& sweep) { answer = sweep; });
    runners.run();
    return answer;
  }

  /// Names of what was set aside.
  std::vector<std::string> aside() {
    std::vector<std::string> names = files.names("/data");
    std::erase_if(names, [](const std::string& name) {
      return !name.ends_with(".unreadable.json") || name.starts_with("history");
    });
    return names;
  }

  FakeFiles files;
  FakeRunners runners;
  FakeTrash trash{files};
  LibraryPaths paths{"/data", "/caches"};
  HistoryStore store{{files, runners, runners.main(), runners.runner("persist"), 0}, paths};
  HistoryDeletion deletion{{store, files, trash, runners, runners.main(), runners.runner("work")}};
  RewriteJournal rewrites{files, paths, runners};
};

// "a" would go if what a newer build wrote were taken for a journal of this one.
const std::map<std::string, std::vector<std::string>> unreadable{
    {"deletions",
     {R"({"version":99,"items":[{"id":"a","file":"1"}],"offersUndo":true})",
      R"({"version":"of old","items":[{"id":"a"}]})", "{}", "half a jour", ""}},
    {"undo",
     {R"({"version":99,"until":1,"isBegun":true,"items":[]})", R"({"until":1,"items":[)", ""}},
    {"rewrites",
     {R"({"version":99,"items":[{"id":"a","old":"/captures/a.png"}]})", "{}", "rubbish", ""}}};

TEST_F(JournalFileTest, WhatCannotBeReadIsKeptUnderAnotherName) {
  for (const auto& [name, texts] : unreadable) {
    for (const std::string& text : texts) {
      for (const bool isRecovered : {true, false}) {
        SCOPED_TRACE(
            fmt::format("{}: {}{}", name, text, isRecovered ? "" : ", the index was parked"));
        warnings.clear();
        const Path path = Path("/data") / (name + ".json");
        Shelf shelf({{path, text}}, isRecovered ? index : "no index");
        shelf.files.disk[path]->status.mode = 0644;
        shelf.recover();
        if (isRecovered) {
          EXPECT_FALSE(shelf.files.disk.contains(path));
          EXPECT_EQ(shelf.aside().size(), 1U);
        } else {
          ScreenshotEntry entry;
          entry.id = "b";
          entry.path = "/captures/b.png";
          ASSERT_TRUE(shelf.store.add(entry).has_value());
        }

        EXPECT_EQ(shelf.trashed("b").removed.size(), 1U);
        ASSERT_TRUE(shelf.rewrites.begin("a", "/captures/a.png", std::nullopt).has_value());
        for (const char* const journal : {"/data/undo.json", "/data/rewrites.json"}) {
          EXPECT_THAT(shelf.files.text(journal), HasSubstr(R"("version":2,)"));
        }
        shelf.rewrites.end("a", shelf.store.entries());
        shelf.runners.advance(std::chrono::seconds(9));

        EXPECT_EQ(shelf.files.text("/captures/a.png"), "a");
        ASSERT_EQ(shelf.aside().size(), 1U) << "and none of this build's own";
        const Path aside = Path("/data") / shelf.aside()[0];
        EXPECT_THAT(aside.filename().string(), testing::StartsWith(name + "-"));
        EXPECT_EQ(shelf.files.text(aside), text);
        EXPECT_EQ(shelf.files.status(aside)->mode & 077U, 0U);
        EXPECT_THAT(warnings, AllOf(HasSubstr(path.string()), HasSubstr(aside.string())));
      }
    }
  }
}

TEST_F(JournalFileTest, WhatCannotBeSetAsideStaysAndNothingIsDeletedWithoutAJournal) {
  const std::string text = unreadable.at("deletions")[0];
  Shelf shelf({{"/data/deletions.json", text}});
  shelf.files.changesFail = FailureKind::denied;
  shelf.recover();
  EXPECT_EQ(shelf.trashed("b").failures.size(), 1U);
  shelf.files.changesFail.reset();
  EXPECT_EQ(shelf.files.text("/captures/b.png"), "b");
  EXPECT_EQ(shelf.files.text("/data/deletions.json"), text);
}

TEST_F(JournalFileTest, JournalsOfEarlierBuildsAreCarriedOn) {
  Shelf shelf({{"/data/deletions.json", R"({"items":[{"id":"b"}],"offersUndo":true})"},
               {"/data/rewrites.json", R"([{"id":"a","old":"/captures/a.png"}])"},
               {"/captures/.a.partial", "half a picture"}});
  shelf.files.disk.erase("/captures/b.png");
  shelf.recover();
  EXPECT_FALSE(shelf.files.disk.contains("/captures/.a.partial"));
  EXPECT_EQ(shelf.files.text("/data/rewrites.json"), "(missing)");
  EXPECT_EQ(shelf.files.text("/data/deletions.json"), "(missing)");
  EXPECT_THAT(shelf.aside(), IsEmpty());
  EXPECT_THAT(warnings, IsEmpty());

  // What they noted of files had other keys, or more of them.
  const Path made = "/captures/a.jpg";
  for (const bool isMade : {true, false}) {
    shelf.files.put(made, "smaller");
    const std::uint64_t number = shelf.files.status(made)->inode + (isMade ? 0 : 1);
    shelf.files.put("/data/rewrites.json",
                    fmt::format(R"([{{"id":"a","old":"/captures/a.png","oldInode":"1",)"
                                R"("made":"/captures/a.jpg","madeInode":"{0}","madeFile":{{)"
                                R"("volume":"{1}","folder":"/captures","file":{0},"size":7,)"
                                R"("modified":{2},"folderFile":3}}}}])",
                                number, shelf.files.location("/captures")->volume,
                                shelf.files.status(made)->modified));
    RewriteJournal(shelf.files, shelf.paths, shelf.runners).recover(shelf.store.entries());
    EXPECT_EQ(shelf.files.disk.contains(made), !isMade);
  }
  shelf.files.put("/data/deletions.json",
                  R"({"version":1,"items":[{"id":"a","file":"18446744073709551615","fileSize":7,)"
                  R"("fileModified":1.5,"original":"2","originalSize":8,"originalModified":2}],)"
                  R"("offersUndo":true,"surplus":[]})");
  DeletionJournal journal = readDeletionJournal(shelf.files, shelf.paths);
  for (const bool isWrittenAnew : {false, true}) {
    ASSERT_EQ(journal.items.size(), 1U);
    EXPECT_TRUE(journal.items[0].file->isOf({.size = 7, .modified = 1.5, .inode = ~0ULL}));
    EXPECT_TRUE(journal.items[0].original->isOf({.size = 8, .modified = 2, .inode = 2}));
    if (isWrittenAnew) break;
    ASSERT_TRUE(writeDeletionJournal(shelf.files, shelf.paths, journal).has_value());
    EXPECT_THAT(shelf.files.text("/data/deletions.json"), Not(HasSubstr("fileSize")));
    journal = readDeletionJournal(shelf.files, shelf.paths);
  }
}

}  // namespace
}  // namespace vantorel
