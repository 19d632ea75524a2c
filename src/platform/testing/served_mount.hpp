#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace vantorel {

/// The files of another folder, served as by another machine: the kernel asks this process, which
/// may be told not to answer. Whoever asked then hangs in the kernel, and not even SIGKILL ends
/// him. Only the superuser can mount it.
class ServedMount {
 public:
  ServedMount(std::filesystem::path folder, const std::filesystem::path& served);
  ServedMount(const ServedMount&) = delete;
  ServedMount& operator=(const ServedMount&) = delete;
  ~ServedMount() { end(); }

  /// From now on nothing is answered.
  void hang();

  /// From now on no reading behind this place in a file is answered.
  void hangInReadsFrom(std::uint64_t offset);

  /// Each reading and writing takes so long.
  void slowDown(std::chrono::milliseconds delay);

  /// From now on names are made, moved and removed, and those who asked are told of this `errno`
  /// value instead; 0 ends it.
  void loseReplies(int error);

  /// From now on a rename cannot be told to spare what it finds.
  void renamePlainly();

  /// From now on its files have numbers that are higher by this much, as after another mount.
  void raiseNumbers(std::uint64_t by);

  /// What was not answered is answered now.
  void answer();

  /// Unmounts it. Whoever waits is told that there is no connection any more.
  void end();

 private:
  struct Reply {
    int error = 0;
    std::string bytes{};
  };
  using Question = std::string;

  void serve();
  [[nodiscard]] bool isHungIn(const Question& question);
  void reply(const Question& question);
  [[nodiscard]] Reply replyTo(const Question& question);
  [[nodiscard]] Reply entryOf(const std::string& path);
  [[nodiscard]] std::string pathOf(std::uint64_t node) const { return nodes_.at(node); }
  [[nodiscard]] std::uint64_t nodeOf(const std::string& path);

  std::filesystem::path folder_;
  int channel_ = -1;
  int wake_ = -1;
  bool isMounted_ = false;

  std::mutex mutex_;
  bool isEnding_ = false;
  std::uint64_t hangsFrom_ = UINT64_MAX;  // of a file; nothing at all is answered below 1
  std::chrono::milliseconds delay_{0};
  int lostReply_ = 0;
  bool renamesPlainly_ = false;
  std::atomic<std::uint64_t> raisedBy_ = 0;  // also while it answers under the lock

  // Of the thread that serves.
  std::map<std::uint64_t, std::string> nodes_;  // paths of what is served
  std::vector<Question> unanswered_;
  std::jthread thread_;
};

}  // namespace vantorel
