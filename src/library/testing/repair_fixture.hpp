#pragma once

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "base/json_record.hpp"
#include "library/library_repair.hpp"
#include "library/testing/test_library.hpp"
#include "platform/testing/fake_image_codec.hpp"
#include "platform/testing/quiet_log.hpp"

namespace vantorel {

// NOLINTNEXTLINE(readability-identifier-naming): the test library looks for it
inline void PrintTo(const VerifyReport::Finding& finding, std::ostream* out) {
  *out << nameOf(finding.kind) << " " << finding.path << (finding.isRepaired ? " repaired" : "");
}

/// The program on a disk that may outlive it.
struct RepairSession : TestLibrary {
  explicit RepairSession(std::shared_ptr<FakeFiles> disk) : TestLibrary(std::move(disk)) {
    repair.whenStagingKnown = [this](const auto& known) {
      looked();
      known(staging);
    };
  }

  void open() {
    library.open();
    runners.run();
  }

  /// `meanwhile` happens while the look is under way.
  VerifyReport verify(bool repairs, const std::function<void()>& meanwhile = [] {}) {
    std::optional<VerifyReport> answer;
    repair.run(repairs, progress, [&](VerifyReport report) { answer = std::move(report); });
    meanwhile();
    runners.run();
    EXPECT_TRUE(answer.has_value());
    return answer.value_or(VerifyReport{});
  }

  /// By the paths of the library's captures.
  std::vector<std::pair<std::string, std::optional<std::string>>> titles() {
    std::vector<std::pair<std::string, std::optional<std::string>>> titles;
    for (const EntryPointer& entry : store.entries())
      titles.emplace_back(entry->path, entry->title);
    return titles;
  }

  std::set<Path> staging;    // by this process
  std::vector<Path> filing;  // by any
  CheckProgress progress = [](std::size_t, std::size_t) { return true; };
  std::function<void()> looked = [] {};  // told between the look and what comes of it
  LibraryRepair repair{{.main = runners.main(),
                        .work = runners.runner("work"),
                        .files = files,
                        .codec = std::make_shared<FakeImageCodec>(),
                        .clock = clock(),
                        .trash = &trash,
                        .library = &library,
                        .captureFolders = [] { return std::vector<Path>{"/captures"}; },
                        .filesOfStaged = [this] { return filing; }}};
};

class LibraryRepairTest : public testing::Test, protected RepairSession {
 protected:
  using Session = RepairSession;

  LibraryRepairTest() : RepairSession(std::make_shared<FakeFiles>()) {
    files->folders.insert("/data");
  }

  void load(const std::string& index) {
    files->put("/data/history.json", index);
    open();
  }

  static std::string indexOf(const std::string& entries) {
    return R"({"version":4,"entries":[)" + entries + R"(],"collections":[]})";
  }

  /// As large as `content` is long.
  static std::string picture(const std::string& content) {
    return fmt::format("png {} 1 0\n{}{}{}{}", content.size(), content, content, content, content);
  }

  /// Of a capture whose file is there.
  ScreenshotEntry capture(const std::string& path, const std::string& title) {
    files->put(path, picture(title));
    ScreenshotEntry entry;
    entry.id = title;
    entry.path = path;
    entry.title = title;
    entry.fileIdentity = identifyFile(*files, path);
    return entry;
  }

  static Path copy(const std::string& name) { return "/data/history-" + name + ".unreadable.json"; }

  /// As when an index of these entries lost its end.
  void park(const std::string& name, double time, const std::vector<ScreenshotEntry>& entries) {
    std::string text = R"({"version":4,"entries":[)";
    for (const ScreenshotEntry& entry : entries) text += json::toText(entry) + ",";
    files->put(copy(name), text);
    files->disk.at(copy(name))->status.modified = time;
  }

  QuietLog quiet;
};

}  // namespace vantorel
