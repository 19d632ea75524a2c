#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mount.h>

#include <cstring>
#include <fstream>
#include <thread>

#include "main/program_under_test.hpp"
#include "platform/testing/desktop/test_client.hpp"
#include "platform/testing/desktop/test_desktop.hpp"

namespace vantorel {
namespace {

using namespace std::chrono_literals;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

/// A file system of its own, mounted for as long as this lives.
class MountedFolder {
 public:
  MountedFolder(std::filesystem::path folder, const char* options) : folder_(std::move(folder)) {
    std::filesystem::create_directories(folder_);
    mount(options);
  }
  ~MountedFolder() { unmount(); }

  void mount(const char* options) {
    isMounted_ = ::mount("tmpfs", folder_.c_str(), "tmpfs", 0, options) == 0;
    EXPECT_TRUE(isMounted_) << std::strerror(errno);
  }
  void unmount() {
    if (!std::exchange(isMounted_, false)) return;
    EXPECT_EQ(::umount2(folder_.c_str(), MNT_DETACH), 0) << std::strerror(errno);
  }
  [[nodiscard]] const std::filesystem::path& path() const { return folder_; }

 private:
  std::filesystem::path folder_;
  bool isMounted_ = false;
};

void setStorage(const Vantorel& vantorel, const std::filesystem::path& folder) {
  std::filesystem::create_directories(vantorel.root());
  std::ofstream(vantorel.root() / "settings.json")
      << R"({"storageDirectory":")" << folder.string() << "\"}";
}

std::string pathIn(const ChildOutcome& outcome) {
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  return outcome.out.substr(0, outcome.out.find('\n'));
}

/// Takes captures until one was taken by the program in the tray, which keeps the clipboard.
void waitForTray(TestClient& client, const Vantorel& vantorel, ChildProcess& tray) {
  while (!client.isOwned("CLIPBOARD")) {
    ASSERT_EQ(vantorel.run({"capture", "display"}).status, 0);
    ASSERT_TRUE(tray.isRunning()) << tray.errorText();
  }
}

TEST(LibraryProgramTest, WhatHappensToFilesOutsideTheRunningProgramIsNoticedAndADiskMayGo) {
  TestDesktop desktop({.windowManager = true, .bus = true});
  TestClient client(desktop.display());
  client.paintRoot(1);
  const Vantorel vantorel(desktop);
  MountedFolder disk(desktop.folder() / "disk", "size=64m");
  const std::string deleted = pathIn(vantorel.run({"capture", "display"}));
  const std::string kept = pathIn(vantorel.run({"capture", "display"}));
  setStorage(vantorel, disk.path());
  const std::string onDisk = pathIn(vantorel.run({"capture", "display"}));
  EXPECT_EQ(std::filesystem::path(onDisk).parent_path(), disk.path());

  ChildProcess tray = vantorel.start({});
  waitForTray(client, vantorel, tray);
  const std::string late = pathIn(vantorel.run({"capture", "display"}));
  std::this_thread::sleep_for(3s);  // the program's first look at the folders
  std::filesystem::remove(deleted);
  std::filesystem::rename(late, disk.path() / "renamed.png");
  const auto listed = [&] { return vantorel.run({"--json", "library", "list"}).out; };
  for (int i = 0; i < 100 && (listed().find(deleted) != std::string::npos ||
                              listed().find(late) != std::string::npos);
       ++i) {
    std::this_thread::sleep_for(100ms);
  }
  EXPECT_THAT(listed(), AllOf(HasSubstr(kept), HasSubstr(onDisk), Not(HasSubstr(deleted)),
                              Not(HasSubstr(late))));

  disk.unmount();
  const auto outOfReach = [&] {
    return vantorel.run({"library", "show", "latest"}).out.find("out of reach now") !=
           std::string::npos;
  };
  for (int i = 0; i < 100 && !outOfReach(); ++i) std::this_thread::sleep_for(100ms);
  EXPECT_TRUE(outOfReach());
  EXPECT_THAT(listed(), HasSubstr(onDisk));
  const ChildOutcome meanwhile = vantorel.run({"capture", "display"});
  EXPECT_EQ(differenceFromTestPicture(vantorel.picture(meanwhile), 1), "");
  // The next disk of that name is empty.
  disk.mount("size=64m");
  std::this_thread::sleep_for(4s);
  EXPECT_THAT(listed(), HasSubstr(onDisk));
  EXPECT_EQ(vantorel.run({"quit"}).status, 0);
  tray.wait();
  EXPECT_THAT(readAll(vantorel.root() / "history.json"),
              AllOf(HasSubstr(kept), HasSubstr(onDisk), HasSubstr(pathIn(meanwhile))));
}

}  // namespace
}  // namespace vantorel
