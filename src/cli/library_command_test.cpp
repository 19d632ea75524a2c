#include "cli/library_command.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/time_text.hpp"
#include "cli/command_line.hpp"
#include "library/testing/test_library.hpp"
#include "platform/testing/quiet_log.hpp"

namespace vantorel {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;

class LibraryCommandTest : public testing::Test, protected TestLibrary {
 protected:
  LibraryCommandTest() {
    library.open();
    runners.run();
    add("AA1", [](ScreenshotEntry& entry) {
      entry.sourceApp = SourceApp{"org.mozilla.firefox", "Firefox", {}};
    });
    add("AA2", [](ScreenshotEntry& entry) { entry.medium = CaptureMedium::gif; });
    add("BB3", [](ScreenshotEntry& entry) { entry.title = "tab\there"; });
    runners.advance(1s);
  }

  void add(const std::string& id, const std::function<void(ScreenshotEntry&)>& change) {
    ScreenshotEntry entry;
    entry.id = id;
    entry.capturedAt = runners.now() - 10 + ++added;
    entry.path = "/captures/" + id + ".png";
    change(entry);
    files->put(entry.path, "pixels of " + id);
    ASSERT_TRUE(store.add(entry).has_value());
  }

  CommandReply run(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "library");
    const auto parsed = parseCommandLine(arguments, "/");
    const auto* const line = std::get_if<CommandLine>(&parsed);
    if (line == nullptr) return {ExitStatus::usage, {}, {}};
    std::optional<CommandReply> answer;
    commands.run(std::get<command::Library>(line->command), line->json,
                 [&](CommandReply reply) { answer = std::move(reply); });
    runners.run();
    EXPECT_TRUE(answer.has_value());
    return *std::move(answer);
  }

  /// The ids that a listing shows.
  std::string listed(std::vector<std::string> filters) {
    filters.insert(filters.begin(), "list");
    const CommandReply reply = run(filters);
    std::string ids;
    std::istringstream lines(reply.output);
    for (std::string line; std::getline(lines, line);) ids += line.substr(0, 3) + " ";
    return ids + reply.error;
  }

  QuietLog quiet;
  int added = 0;
  LibraryPrune pruning{{.main = runners.main(),
                        .work = runners.runner("work"),
                        .files = files,
                        .library = &library}};
  EntryFileLook fileLook{{.main = runners.main(),
                          .work = runners.runner("work"),
                          .files = files,
                          .library = &library}};
  bool reads = false;
  std::vector<std::string> readIDs;
  LibraryCommands commands{{.main = runners.main(),
                            .work = runners.runner("work"),
                            .clock = std::shared_ptr<const Clock>(&runners, [](auto*) {}),
                            .library = &library,
                            .prune = &pruning,
                            .fileLook = &fileLook,
                            .readText = [this](const std::string& id, const auto& done) {
                              readIDs.push_back(id);
                              if (!reads || id == "BB3") {
                                return done(std::unexpected("no text has been read yet."));
                              }
                              ASSERT_TRUE(store.update(id, [&](ScreenshotEntry& entry) {
                                entry.ocrText = "words of " + id;
                                entry.ocrVersion = 1;
                              }));
                              done(store.find(id));
                            }}};
};

TEST_F(LibraryCommandTest, ListingsShowWhatIsAskedForTheNewestFirst) {
  EXPECT_EQ(run({"collect", "Box", "AA1"}).status, ExitStatus::failed) << "a mistyped name";
  EXPECT_EQ(run({"collect", "Box", "--new", "AA1", "BB"}).status, ExitStatus::done);
  EXPECT_EQ(run({"star", "AA1", "AA2"}).status, ExitStatus::done);
  EXPECT_EQ(run({"unstar", "AA2"}).status, ExitStatus::done);
  EXPECT_THAT(files->text("/data/history.json"), HasSubstr("\"starred\":true"));

  EXPECT_EQ(listed({}), "BB3 AA2 AA1 ");
  EXPECT_EQ(listed({"--limit", "2"}), "BB3 AA2 ");
  EXPECT_EQ(listed({"--medium", "gif"}), "AA2 ");
  EXPECT_EQ(listed({"--starred"}), "AA1 ");
  EXPECT_EQ(listed({"--unstarred"}), "BB3 AA2 ");
  EXPECT_EQ(listed({"--collection", "box"}), "BB3 AA1 ");
  EXPECT_EQ(listed({"--collection", "box", "--app", "FIRE"}), "AA1 ");
  EXPECT_EQ(listed({"--app", "mozilla"}), "AA1 ");
  EXPECT_EQ(listed({"--since", "1h"}), "BB3 AA2 AA1 ");
  EXPECT_EQ(listed({"--before", "1h"}), "");
  EXPECT_EQ(listed({"--since", tableTime(runners.now() + 60)}), "");
  EXPECT_EQ(listed({"--collection", "shoe"}), "No collection is called \"shoe\".\n");

  EXPECT_THAT(run({"collections"}).output, HasSubstr("\tBox\tblue\t2 captures\n"));
  EXPECT_EQ(run({"uncollect", "Box", "latest"}).status, ExitStatus::done);
  EXPECT_THAT(run({"collections", "--json"}).output, HasSubstr("\"count\":1}"));
  EXPECT_THAT(run({"list", "--limit", "1"}).output, HasSubstr("tab here\n"));
  EXPECT_THAT(run({"show", "AA1"}).output, HasSubstr("application: Firefox (org.mozilla.firefox)"));
  EXPECT_EQ(run({"path", "latest", "aa1"}).output, "/captures/BB3.png\n/captures/AA1.png\n");
  EXPECT_EQ(run({"title", "BB3"}).status, ExitStatus::done);
  EXPECT_EQ(store.find("BB3")->title, std::nullopt);
}

TEST_F(LibraryCommandTest, AMistakeInOneNameChangesNothing) {
  const CommandReply ambiguous = run({"trash", "BB3", "aa"});
  EXPECT_EQ(ambiguous.status, ExitStatus::failed);
  EXPECT_EQ(ambiguous.error, "2 captures have an id that begins with \"aa\".\n");
  EXPECT_EQ(run({"star", "BB3", "C"}).error, "No capture has the id \"C\".\n");
  EXPECT_EQ(listed({"--unstarred"}), "BB3 AA2 AA1 ");
}

TEST_F(LibraryCommandTest, WhatGoesCanComeBackAndOnlyLostFilesArePruned) {
  const CommandReply gone = run({"trash", "AA1", "BB3", "BB"});
  EXPECT_EQ(gone.output, "2 captures deleted\n");
  EXPECT_EQ(listed({}), "AA2 ");
  EXPECT_THAT(run({"undo"}).output, HasSubstr("AA1\t"));
  EXPECT_EQ(listed({}), "BB3 AA2 AA1 ");
  EXPECT_EQ(run({"undo"}).error,
            "There is nothing to undo: a deletion can be undone for 8 seconds.\n");

  trash.failing["/captures/AA1.png"] = FailureKind::unsupported;
  const CommandReply stays = run({"trash", "AA1", "AA2"});
  EXPECT_EQ(stays.status, ExitStatus::failed);
  EXPECT_THAT(stays.error, HasSubstr("AA1.png: the Trash does not take it.\n"));
  EXPECT_EQ(listed({}), "BB3 AA1 ");
  runners.advance(9s);
  EXPECT_EQ(run({"undo"}).status, ExitStatus::failed);

  {
    const auto open = library.claim("BB3", EntryWork::editing);
    const CommandReply refused = run({"forget", "BB3"});
    EXPECT_EQ(refused.status, ExitStatus::failed);
    EXPECT_EQ(refused.error, "BB3: The capture can't be changed: close Annotate first.\n");
  }
  EXPECT_EQ(run({"forget", "BB3"}).output, "1 capture removed from History\n");
  EXPECT_EQ(files->text("/captures/BB3.png"), "pixels of BB3");

  add("CC4", [](ScreenshotEntry&) {});
  add("DD5", [](ScreenshotEntry& entry) { entry.path = "/media/stick/DD5.png"; });
  files->disk.erase("/captures/CC4.png");
  files->disk.erase("/media/stick/DD5.png");
  files->folders.erase("/media/stick");
  const CommandReply pruned = run({"prune", "--json"});
  EXPECT_THAT(pruned.output, HasSubstr("\"id\":\"CC4\""));
  EXPECT_EQ(pruned.error, "1 capture out of reach stays in History.\n");
  EXPECT_EQ(listed({}), "DD5 AA1 ");
}

TEST_F(LibraryCommandTest, PruneForgetsWhatIsGoneUnlessTheOneWhoAskedGoesAway) {
  for (const char* const id : {"AA1", "BB3"}) {
    files->disk.erase(std::string("/captures/") + id + ".png");
  }
  const auto prune = [this](const std::string& goesAway) {
    std::optional<CommandReply> answer;
    command::Library what;
    what.verb = command::Library::Verb::prune;
    commands.run(what, false, [&](CommandReply reply) { answer = std::move(reply); },
                 {.name = "requester"});
    commands.stop(goesAway);
    runners.run();
    EXPECT_TRUE(answer.has_value());
    return *std::move(answer);
  };
  const CommandReply stopped = prune("requester");
  EXPECT_EQ(stopped.status, ExitStatus::cancelled);
  EXPECT_EQ(stopped.error, "Stopped; nothing was changed.\n");
  EXPECT_EQ(store.entries().size(), 3U);
  EXPECT_EQ(prune("somebody else").output, "2 captures removed from History\n");
  EXPECT_EQ(store.entries().size(), 1U);
  EXPECT_EQ(prune("").output, "0 captures removed from History\n");
}

TEST_F(LibraryCommandTest, SearchPrintsTheLineThatMatchedAndNothingCovered) {
  const auto reading = [](const char* text) {
    return [text](ScreenshotEntry& entry) {
      entry.pixelWidth = 1000;
      entry.pixelHeight = 1000;
      entry.ocrText = text;
      entry.ocrBlocks = {
          OCRBlock{.lines = {{.text = text, .box = {0.1F, 0.1F, 0.4F, 0.02F, {}}}}, .extra = {}}};
    };
  };
  add("CC4", reading("total due: 48"));
  add("CC5", reading("Total of all"));
  ASSERT_TRUE(store.update("CC5", [](ScreenshotEntry& entry) {
    entry.ocrBlocks->push_back(
        {.lines = {{.text = "secret", .box = {0.1F, 0.5F, 0.2F, 0.02F, {}}}}, .extra = {}});
    entry.ocrText = "Total of all\n\nsecret";
    Shape redaction;
    redaction.id = "r";
    redaction.type = ShapeType::redact;
    redaction.x1 = 50;
    redaction.y1 = 490;
    redaction.x2 = 400;
    redaction.y2 = 530;
    entry.shapes = {redaction};
  }));
  const std::string found = run({"search", "TOTAL"}).output;
  EXPECT_THAT(found, testing::MatchesRegex("CC5\t[^\t]*\tCC5.png\tTotal of all\n"
                                           "CC4\t[^\t]*\tCC4.png\ttotal due: 48\n"));
  EXPECT_EQ(run({"search", "total", "--limit", "1"}).output.find("CC4"), std::string::npos);
  EXPECT_THAT(run({"search", "\"due: 48\"", "cc"}).output, testing::StartsWith("CC4"));
  EXPECT_THAT(run({"search", "firefox"}).output, testing::EndsWith("\tAA1.png\t-\n"));
  EXPECT_THAT(run({"search", "@gif"}).output, testing::StartsWith("AA2"));
  EXPECT_EQ(run({"search", ""}).status, ExitStatus::usage);

  const CommandReply nothing = run({"search", "secret"});
  EXPECT_EQ(nothing.output, "");
  EXPECT_THAT(nothing.error, HasSubstr(" captures has not been read yet.\n"));
  EXPECT_EQ(nothing.status, ExitStatus::done);
  for (const std::vector<std::string>& arguments :
       std::vector<std::vector<std::string>>{{"show", "CC5"},
                                             {"show", "CC5", "--json"},
                                             {"list", "--json"},
                                             {"search", "all", "--json"},
                                             {"text", "CC5", "--json"}}) {
    EXPECT_THAT(run(arguments).output, testing::Not(HasSubstr("secret"))) << arguments.front();
  }

  const std::string json = run({"search", "due", "--json"}).output;
  EXPECT_THAT(json,
              HasSubstr(R"("snippet":{"text":"total due: 48","hits":[{"begin":6,"end":9}]})"));
  EXPECT_THAT(json, HasSubstr(R"("boxes":[{"x":0.)"));
  EXPECT_EQ(run({"text", "CC5"}).output, "Total of all\n");
  const CommandReply unread = run({"text", "CC4", "AA1"});
  EXPECT_EQ(unread.output, "total due: 48\n");
  EXPECT_EQ(unread.error, "AA1: no text has been read yet.\n");
  EXPECT_EQ(unread.status, ExitStatus::failed);
}

TEST_F(LibraryCommandTest, TextThatNobodyHasReadIsReadWhenItIsAskedFor) {
  reads = true;
  const CommandReply read = run({"text", "AA1", "BB3"});
  EXPECT_EQ(read.output, "words of AA1\n");
  EXPECT_EQ(read.error, "BB3: no text has been read yet.\n");
  EXPECT_EQ(read.status, ExitStatus::failed);
  EXPECT_EQ(store.find("AA1")->ocrText, "words of AA1");
  EXPECT_EQ(run({"text", "AA1"}).output, "words of AA1\n");
  EXPECT_EQ(readIDs, (std::vector<std::string>{"AA1", "BB3"})) << "once is enough";
}

}  // namespace
}  // namespace vantorel
