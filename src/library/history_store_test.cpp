#include "library/history_store.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

#include "base/log.hpp"
#include "base/utf8.hpp"
#include "platform/testing/fake_files.hpp"
#include "platform/testing/fake_runners.hpp"

namespace vantorel {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr const char* index = "/data/history.json";

class HistoryStoreTest : public testing::Test {
 protected:
  HistoryStoreTest() {
    formerSink = setLogSink([this](LogLevel, std::string_view, std::string_view text) {
      log += std::string(text) + "\n";
    });
  }
  ~HistoryStoreTest() override { setLogSink(std::move(formerSink)); }

  HistoryStore& open() {
    store.reset();
    store = std::make_unique<HistoryStore>(
        HistoryServices{files, runners, runners.main(), runners.runner("persist"), 0},
        LibraryPaths{"/data", "/caches"});
    store->load([this] { ++loads; });
    runners.run();
    return *store;
  }

  static ScreenshotEntry entry(const std::string& id, double time = 1) {
    ScreenshotEntry made;
    made.id = id;
    made.capturedAt = time;
    made.path = "/captures/" + id + ".png";
    return made;
  }

  void add(const std::string& id, double time = 1) {
    ASSERT_TRUE(store->add(entry(id, time)).has_value());
  }

  static std::string ids(const EntryList& list) {
    std::string text;
    for (const EntryPointer& one : list) text += one->id;
    return text;
  }

  /// The answer to `flush`, once all has run that is due.
  std::string written() {
    std::string answer = "no answer";
    store->flush([&](Result<void> result) { answer = result ? "" : result.error().reason; });
    runners.run();
    return answer;
  }

  FakeFiles files;
  FakeRunners runners;
  std::unique_ptr<HistoryStore> store;
  int loads = 0;
  std::string log;
  LogSink formerSink;
};

TEST_F(HistoryStoreTest, BurstOfChangesCostsOneWriteAndALaterRunFindsThem) {
  open();
  EXPECT_EQ(loads, 1);
  EXPECT_TRUE(store->indexWasReadFromDisk());
  for (const char* id : {"a", "b", "c"}) {
    add(id);
    runners.advance(100ms);
  }
  EXPECT_EQ(files.text(index), "(missing)");
  const int before = files.changes;
  runners.advance(150ms);
  EXPECT_EQ(files.changes - before, 2) << "one staging file and one rename";
  EXPECT_EQ(store->landedSequence(), store->writeSequence());
  EXPECT_EQ(files.disk[index]->status.mode, 0600U);

  open();
  EXPECT_EQ(ids(store->entries()), "abc");
  runners.advance(10s);
  EXPECT_EQ(files.changes - before, 2) << "reading changes nothing";
}

TEST_F(HistoryStoreTest, ANewerIndexThatComesWhileItRunsEndsWriting) {
  open();
  add("a");
  EXPECT_EQ(written(), "");
  std::vector<std::string> reported;
  store->onForeignIndex = [&](const ForeignIndex& foreign) {
    reported.push_back(foreign.sentence());
  };
  const std::string newer = R"({"version":5,"entries":[]})";
  files.put(index, newer);
  add("b");
  EXPECT_EQ(written(), "another program replaced it");
  add("c");
  EXPECT_EQ(written(), "the index can't be written this run: a newer version of Vantorel wrote it");
  const int before = files.changes;
  runners.advance(120s);
  EXPECT_EQ(files.changes, before) << "nothing is tried again";
  EXPECT_EQ(files.text(index), newer);
  EXPECT_EQ(ids(store->entries()), "abc");
  EXPECT_THAT(reported, ElementsAre(HasSubstr("a newer version of Vantorel wrote")));
}

TEST_F(HistoryStoreTest, WhatAnotherProcessWroteWhileTheLockWasLostIsReadAndNotWrittenOver) {
  open();
  add("a");
  EXPECT_EQ(written(), "");
  std::vector<std::string> reported;
  store->onForeignIndex = [&](const ForeignIndex& foreign) {
    reported.push_back(foreign.sentence());
  };
  store->onTakenOver = [&] { store->load([] {}); };

  // The process that served the disk has gone; nobody wrote, and nothing is told.
  files.loseOpenFiles();
  add("b");
  EXPECT_EQ(written(), "");
  EXPECT_THAT(reported, IsEmpty());

  files.loseOpenFiles();
  std::string others = files.text(index);
  others.replace(others.find("/b."), 3, "/X.");
  files.put(index, others);
  add("c");
  EXPECT_THAT(written(), HasSubstr("another process changed the library meanwhile"));
  EXPECT_THAT(reported, ElementsAre(HasSubstr("The library is read again")));
  EXPECT_EQ(files.text(index), others);
  EXPECT_EQ(ids(store->entries()), "ab");
  EXPECT_THAT(store->find("b")->path, HasSubstr("/X."));
  EXPECT_EQ(store->indexRefusal(), std::nullopt);
  add("d");
  EXPECT_EQ(written(), "");
  EXPECT_THAT(files.text(index), AllOf(HasSubstr("/X."), HasSubstr(R"("id":"d")")));
}

TEST_F(HistoryStoreTest, AcknowledgesOnlyWhatIsOnDisk) {
  open();
  EXPECT_EQ(written(), "");
  std::vector<std::string> answers;
  add("a");
  store->flush([&](Result<void> result) { answers.emplace_back(result ? "a" : "failed"); });
  add("b");
  EXPECT_THAT(answers, IsEmpty());
  store->flush([&](Result<void> result) {
    answers.emplace_back(result ? "b" : "failed");
    EXPECT_THAT(files.text(index), HasSubstr(R"("id":"b")"));
  });
  runners.run();
  EXPECT_THAT(answers, ElementsAre("a", "b"));

  files.changesFail = FailureKind::noSpace;
  add("c");
  EXPECT_EQ(written(), "the disk refuses changes");
  EXPECT_TRUE(store->indexSaveFailure().has_value());
  EXPECT_THAT(files.text(index), Not(HasSubstr(R"("id":"c")")));
  EXPECT_THAT(log, HasSubstr("index write failed"));
  // Room is made; nobody changes anything, and the index lands all the same.
  files.changesFail.reset();
  runners.advance(6s);
  EXPECT_EQ(store->indexSaveFailure(), std::nullopt);
  EXPECT_THAT(files.text(index), HasSubstr(R"("id":"c")"));
}

TEST_F(HistoryStoreTest, ChangesThatNeverPauseAreWrittenAllTheSame) {
  open();
  for (int i = 0; i < 30; ++i) {
    add(std::to_string(i));
    runners.advance(100ms);
  }
  EXPECT_GT(store->landedSequence(), 15U);
}

TEST_F(HistoryStoreTest, IndexOfANewerBuildIsLeftByteForByteAlone) {
  const std::string newer = R"({"version":5,"entries":[{"id":"x"}],"more":1})";
  files.put(index, newer);
  open();
  EXPECT_THAT(store->entries(), IsEmpty());
  EXPECT_FALSE(store->indexWasReadFromDisk());
  EXPECT_THAT(log, HasSubstr("index was written by a newer build (version 5; this build reads up "
                             "to 4) — index writes disabled for this run"));
  const std::string why =
      "the index can't be written this run: a newer version of Vantorel wrote it";
  for (const char* name : {"latest", "x"}) {
    EXPECT_EQ(store->resolve(name).error().reason, "the library can't be used now: " + why);
  }
  add("a");
  EXPECT_EQ(ids(store->entries()), "a") << "the run stays usable";
  EXPECT_EQ(written(), why);
  runners.advance(10s);
  EXPECT_EQ(files.text(index), newer);
}

TEST_F(HistoryStoreTest, DamagedIndexIsParkedOnceAndTheLibraryStartsEmpty) {
  const std::string whole =
      R"({"version":4,"entries":[{"id":"a","capturedAt":1,"path":"/a"}],"collections":[]})";
  const std::string damaged[] = {"",   "\x01\x02garbage",   whole.substr(0, whole.size() - 20),
                                 "[]", R"({"entries":[]})", R"({"version":4,"entries":{}})"};
  for (const std::string& text : damaged) {
    files.disk.clear();
    log.clear();
    files.put(index, text);
    open();
    open();
    EXPECT_EQ(store->loadOutcome(), IndexLoad::parked);
    EXPECT_THAT(store->entries(), IsEmpty());
    EXPECT_THAT(log, HasSubstr("index failed to decode; a copy is parked alongside it as "
                               ".unreadable.json"));
    std::vector<std::string> parked;
    for (const auto& [path, file] : files.disk) {
      if (!path.string().ends_with(".unreadable.json")) continue;
      parked.push_back(file->bytes);
      EXPECT_EQ(file->status.mode, 0600U);
    }
    EXPECT_THAT(parked, ElementsAre(text));
    add("b");
    EXPECT_EQ(written(), "");
  }
  files.disk.clear();
  files.put(index, whole.substr(0, whole.size() - 19) +
                       R"(,{"id":"b","capturedAt":1,"path":"/b","title":")" +
                       "\xff b\"}],\"collections\":[]}");
  open();
  EXPECT_EQ(ids(store->entries()), "ab") << "one byte that is no text takes nothing else along";
  EXPECT_EQ(store->find("b")->title, "\uFFFD b");
  runners.advance(10s);
  EXPECT_TRUE(isUtf8(files.text(index)));

  files.disk.clear();
  files.put(index, "broken");
  files.changesFail = FailureKind::readOnly;
  log.clear();
  open();
  EXPECT_EQ(store->loadOutcome(), IndexLoad::notParked);
  EXPECT_THAT(log, HasSubstr("index failed to decode, and no copy of it could be parked"));
  files.changesFail.reset();
  add("c");
  EXPECT_THAT(written(), StartsWith("the index can't be written this run: it is damaged"));
  EXPECT_EQ(files.text(index), "broken");
}

TEST_F(HistoryStoreTest, WhatIsNoFileOfThisUserIsNeitherReadNorReplaced) {
  files.put(index, R"({"version":4,"entries":[]})");
  files.disk[index]->status.owner = 7;
  open();
  EXPECT_EQ(store->loadOutcome(), IndexLoad::unreadable);
  files.disk[index]->status = {FileType::link, 3, 0, 1, 1, 0777, 0};
  open();
  EXPECT_EQ(store->loadOutcome(), IndexLoad::unreadable);
  EXPECT_THAT(log, HasSubstr("index unreadable — index writes disabled for this run"));
  EXPECT_EQ(store->indexRefusal(), "the index can't be written this run: it can't be read");
  // A disk that fails says why.
  files.silent.insert(Path(index).parent_path());
  const std::string why = files.open(index).error().reason;
  open();
  EXPECT_EQ(store->indexRefusal(), "the index can't be written this run: it can't be read: " + why);
}

TEST_F(HistoryStoreTest, NothingInTheIndexIsLostThatThisBuildCannotRead) {
  files.put(index,
            R"({"version":3,"entries":[{"id":"a","capturedAt":1,"path":"/a"},)"
            R"({"id":"odd","capturedAt":1,"path":"/o","medium":"hologram"},)"
            R"({"id":"a","capturedAt":1,"path":"/a"},{"id":"a","capturedAt":2,"path":"/other"}],)"
            R"("collections":[{"id":"c","name":"C"},{"id":"d","name":"D","color":"mauve"}],)"
            R"("later":{"x":1.0}})");
  open();
  ASSERT_EQ(store->entries().size(), 2U);
  EXPECT_EQ(store->entries()[0]->id, "a");
  EXPECT_EQ(store->entries()[1]->path, "/other");
  EXPECT_NE(store->entries()[1]->id, "a") << "two captures cannot share an id";
  EXPECT_EQ(store->collections().size(), 1U);
  runners.advance(1s);
  const std::string text = files.text(index);
  EXPECT_THAT(text, testing::StartsWith(R"({"version":4,"entries":[{"id":"a",)"));
  EXPECT_THAT(text, HasSubstr(R"({"id":"odd","capturedAt":1,"path":"/o","medium":"hologram"})"));
  EXPECT_THAT(text, HasSubstr(R"({"id":"d","name":"D","color":"mauve"})"));
  EXPECT_THAT(text, testing::EndsWith(R"("later":{"x":1.0}})"));
}

TEST_F(HistoryStoreTest, WaitsForAnotherProcessToEndAndRefusesToWriteBesideIt) {
  auto other = files.lock("/data/history.lock");
  open();
  EXPECT_EQ(loads, 0);
  EXPECT_EQ(store->add(entry("a")).error().reason, "the index hasn't finished loading");
  runners.advance(5s);
  EXPECT_EQ(store->awaitedHolder(), "process 1 (another)");
  other->reset();
  runners.advance(1s);
  EXPECT_EQ(loads, 1);
  EXPECT_EQ(store->awaitedHolder(), std::nullopt);
  EXPECT_EQ(store->loadOutcome(), IndexLoad::absent);
  add("mine", 1);
  runners.advance(1s);
  const int changes = files.changes;

  HistoryStore second({files, runners, runners.main(), runners.runner("persist2"), 0},
                      LibraryPaths{"/data", "/caches"});
  second.load([this] { ++loads; });
  runners.advance(61s);
  EXPECT_EQ(loads, 2);
  EXPECT_EQ(second.loadOutcome(), IndexLoad::inUse);
  EXPECT_NE(second.find("mine"), nullptr) << "it may be looked at";
  EXPECT_EQ(second.indexRefusal(), "process 1 (another) has the library");
  EXPECT_FALSE(second.indexWasReadFromDisk()) << "nobody may clear up by it";
  ASSERT_TRUE(
      second.update("mine", [](ScreenshotEntry& changed) { changed.starred = true; }).has_value());
  runners.advance(1s);
  EXPECT_EQ(files.changes, changes);
  second.load([this] { ++loads; });
  runners.advance(1s);
  EXPECT_EQ(loads, 3) << "it waited again";
  add("a");
  runners.advance(1s);
  store.reset();
  second.load([this] { ++loads; });
  runners.advance(1s);
  EXPECT_NE(second.find("a"), nullptr) << "the library is free by now";
  EXPECT_EQ(second.indexRefusal(), std::nullopt);
  ASSERT_TRUE(
      second.update("a", [](ScreenshotEntry& changed) { changed.starred = true; }).has_value());
  runners.advance(1s);
  const auto written = decodeIndex(files.text(index));
  ASSERT_TRUE(written.has_value());
  ASSERT_EQ(written->file.entries.size(), 2U) << "what it looked at before came twice";
  EXPECT_EQ(written->file.entries[0]->id, "mine");
}

TEST_F(HistoryStoreTest, CachesFollowEveryChange) {
  open();
  add("old", 1);
  add("new", 3);
  add("mid", 2);
  add("twin", 2);
  EXPECT_EQ(ids(store->newestFirst()), "newtwinmidold");
  EXPECT_EQ(store->newest()->id, "new");
  HistoryCollection collection;
  collection.id = "c";
  collection.name = "C";
  ASSERT_TRUE(store->addCollection(collection).has_value());
  for (const char* id : {"old", "mid", "mid"}) {
    ASSERT_TRUE(store->setMembership(id, "c", true).has_value());
  }
  EXPECT_EQ(ids(store->membersOf("c").entries), "midold");
  ASSERT_TRUE(store->update("mid", [](ScreenshotEntry& e) { e.starred = true; }).has_value());
  EXPECT_EQ(store->membersOf("c").starredCount, 1U);
  EXPECT_EQ(ids(store->newestFirst()), "newtwinmidold");
  ASSERT_TRUE(store
                  ->update("old",
                           [](ScreenshotEntry& e) {
                             e.path = "/elsewhere";
                             e.capturedAt = 9;
                           })
                  .has_value());
  EXPECT_EQ(store->findByPath("/elsewhere")->id, "old");
  EXPECT_EQ(store->findByPath("/captures/old.png"), nullptr);
  EXPECT_EQ(ids(store->newestFirst()), "oldnewtwinmid");

  auto removed = store->removeEntries({"mid", "old", "nobody"});
  EXPECT_EQ(ids(store->entries()), "newtwin");
  EXPECT_EQ(store->membersOf("c").entries.size(), 0U);
  EXPECT_EQ(store->find("mid"), nullptr);
  store->insertEntries(removed);
  EXPECT_EQ(ids(store->entries()), "oldnewmidtwin");
  EXPECT_EQ(ids(store->membersOf("c").entries), "oldmid");
  ASSERT_TRUE(store->removeCollection("c").has_value());
  EXPECT_TRUE(store->find("mid")->collectionIDs.empty());

  const std::string shown = ids(store->entries());
  EXPECT_EQ(written(), "");
  open();
  EXPECT_EQ(ids(store->entries()), shown) << "disk and memory went the same way";

  EXPECT_EQ((*store->resolve("latest"))->id, "old");
  EXPECT_EQ((*store->resolve("NE"))->id, "new");
  EXPECT_EQ(store->resolve("").error().kind, FailureKind::notFound);
  add("newer");
  EXPECT_EQ((*store->resolve("new"))->id, "new");
  EXPECT_EQ(store->resolve("ne").error().kind, FailureKind::malformed);

  for (const auto& [id, name] :
       {std::pair("1", "Box"), {"2", "twin"}, {"3", "Twin"}, {"Box", "x"}}) {
    HistoryCollection named;
    named.id = id;
    named.name = name;
    ASSERT_TRUE(store->addCollection(named).has_value());
  }
  EXPECT_EQ((*store->resolveCollection("bOX"))->id, "1");
  EXPECT_EQ((*store->resolveCollection("Box"))->id, "Box") << "an id comes before a name";
  EXPECT_EQ(store->resolveCollection("twin").error().kind, FailureKind::malformed);
  EXPECT_EQ(store->resolveCollection("Bo").error().kind, FailureKind::notFound);
}

TEST_F(HistoryStoreTest, ShortenedIdsAreFoundWhateverCameAndWentBefore) {
  open();
  std::mt19937 random(1);
  const auto randomText = [&](std::size_t longest) {
    std::string text;
    const std::size_t size = random() % longest + 1;
    for (std::size_t i = 0; i < size; ++i) text += "aAbB\xff"[random() % 5];
    return text;
  };
  const auto lower = [](std::string text) {
    std::ranges::transform(text, text.begin(), [](char c) {
      return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 'a' - 'A') : c;
    });
    return text;
  };
  for (int round = 0; round < 600; ++round) {
    const std::string id = randomText(12);
    if (store->find(id)) {
      if (random() % 2 == 0) {
        store->removeEntries({id});
      } else {
        ASSERT_TRUE(store->update(id, [&](ScreenshotEntry& e) { e.capturedAt = round; }));
      }
    } else if (store->entries().size() < 200) {
      add(id, static_cast<double>(random() % 3));
    }
    const std::string prefix = randomText(10);
    if (store->find(prefix)) continue;
    std::vector<EntryPointer> expected;
    for (const EntryPointer& one : store->entries()) {
      if (lower(one->id).starts_with(lower(prefix))) expected.push_back(one);
    }
    const auto found = store->resolve(prefix);
    ASSERT_EQ(found.has_value(), expected.size() == 1) << prefix;
    if (found) {
      ASSERT_EQ(*found, expected[0]);
    } else if (!expected.empty()) {
      ASSERT_THAT(found.error().reason, HasSubstr(std::to_string(expected.size()) + " captures"));
    }
  }
}

}  // namespace
}  // namespace vantorel
