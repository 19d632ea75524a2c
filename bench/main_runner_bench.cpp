// How long the main thread is held at a time, in milliseconds, while commands and the age adopt,
// look through, trash, bring back and forget ten thousand captures, with what follows the library
// in the tray. Files are real ones below the folder for temporary files. What counts is the longest
// task.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <set>

#include "base/check.hpp"
#include "base/log.hpp"
#include "cli/library_command.hpp"
#include "library/history_folder_monitor.hpp"
#include "library/history_reachability.hpp"
#include "library/library.hpp"
#include "library/library_prune.hpp"
#include "library/library_repair.hpp"
#include "platform/linux/inotify_watcher.hpp"
#include "platform/linux/linux_clock.hpp"
#include "platform/linux/linux_image_codec.hpp"
#include "platform/linux/linux_trash.hpp"
#include "platform/linux/loop_runner.hpp"
#include "platform/linux/mount_table_watcher.hpp"
#include "platform/linux/remote_files.hpp"
#include "platform/linux/serial_queues.hpp"

namespace vantorel {
namespace {

using Milliseconds = std::chrono::duration<double, std::milli>;
constexpr int fileCount = 10'000;

/// Of this thread, in milliseconds: what others have of a busy machine is not counted.
double processorTime() {
  timespec time{};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) * 1e-6;
}

/// Passes tasks on and takes the time of each.
class TimedRunner final : public TaskRunner {
 public:
  explicit TimedRunner(std::shared_ptr<TaskRunner> runner) : runner_(std::move(runner)) {}

  void post(Task task) override { runner_->post(timed(std::move(task))); }
  void postAfter(std::chrono::nanoseconds delay, Task task) override {
    runner_->postAfter(delay, timed(std::move(task)));
  }
  [[nodiscard]] bool isCurrent() const override { return runner_->isCurrent(); }

  double longest = 0;    // milliseconds of the clock
  double processor = 0;  // of the processor alone

 private:
  Task timed(Task task) {
    return [this, task = std::move(task)]() mutable {
      const auto start = std::chrono::steady_clock::now();
      const double startOfProcessor = processorTime();
      std::exchange(task, nullptr)();
      processor = std::max(processor, processorTime() - startOfProcessor);
      longest = std::max(longest, Milliseconds(std::chrono::steady_clock::now() - start).count());
    };
  }

  std::shared_ptr<TaskRunner> runner_;
};

/// A library below a folder of its own, with what follows it in the tray.
struct Tray {
  explicit Tray(const Path& root)
      : trash(*files, *clock, root / "share", ::geteuid()),
        library({.files = *files,
                 .trash = trash,
                 .clock = *clock,
                 .main = main,
                 .persist = queues.queue("persist"),
                 .deletions = queues.queue("trash"),
                 .moves = queues.queue("library"),
                 .userID = ::geteuid()},
                {root / "data", root / "cache"}),
        repair({.main = main,
                .work = queues.queue("library"),
                .files = files,
                .codec = codec,
                .clock = clock,
                .trash = &trash,
                .library = &library,
                .captureFolders = [root] { return std::vector<Path>{root / "captures"}; }}),
        prune({.main = main, .work = queues.queue("library"), .files = files, .library = &library}),
        commands({.main = main,
                  .work = queues.queue("library"),
                  .clock = clock,
                  .library = &library,
                  .repair = &repair,
                  .prune = &prune,
                  .move = nullptr}) {}

  double run(command::Library what) {
    return longestOf([&](std::function<void()> done) {
      commands.run(std::move(what), false, [done = std::move(done)](const CommandReply& reply) {
        if (reply.status != ExitStatus::done) std::fputs(reply.error.c_str(), stderr);
        done();
      });
    });
  }

  /// Lets what follows the library follow.
  double rest(std::chrono::seconds length) {
    return longestOf([&](std::function<void()> done) { main->postAfter(length, std::move(done)); });
  }

  /// Calls `begin` as a task of the main runner and runs until it calls back; answers the longest
  /// task, in milliseconds.
  double longestOf(std::move_only_function<void(std::function<void()> done)> begin) {
    main->longest = main->processor = 0;
    main->post([&] { begin([this] { loop.quit(); }); });
    loop.run();
    return main->longest;
  }

  void follow() {
    reachability = std::make_unique<HistoryReachability>(library.store(), *files, main,
                                                         queues.queue("folders"));
    monitor = std::make_unique<HistoryFolderMonitor>(
        HistoryFolderMonitor::Services{.store = library.store(),
                                       .deletion = library.deletion(),
                                       .reachability = *reachability,
                                       .files = *files,
                                       .watcher = watcher,
                                       .mounts = mounts,
                                       .clock = *clock,
                                       .main = main,
                                       .work = queues.queue("folders")});
  }

  ~Tray() { queues.stop(); }

  LoopRunner loop;
  std::shared_ptr<TimedRunner> main = std::make_shared<TimedRunner>(loop.runner());
  SerialQueues queues{6};
  std::shared_ptr<RemoteFiles> files = std::make_shared<RemoteFiles>();
  std::shared_ptr<LinuxClock> clock = std::make_shared<LinuxClock>();
  std::shared_ptr<LinuxImageCodec> codec = std::make_shared<LinuxImageCodec>();
  LinuxTrash trash;
  InotifyWatcher watcher{[this](int queue, const Path& folder, std::uint32_t events) {
    return files->watch(queue, folder, events);
  }};
  MountTableWatcher mounts;
  Library library;
  LibraryRepair repair;
  LibraryPrune prune;
  LibraryCommands commands;
  std::unique_ptr<HistoryReachability> reachability;
  std::unique_ptr<HistoryFolderMonitor> monitor;
};

/// The smallest PNG there is.
constexpr std::array<unsigned char, 67> pixel{
    0x89, 'P',  'N',  'G',  '\r', '\n', 0x1A, '\n', 0,    0,    0,    0x0D, 'I',  'H',
    'D',  'R',  0,    0,    0,    1,    0,    0,    0,    1,    8,    0,    0,    0,
    0,    0x3A, 0x7E, 0x9B, 0x55, 0,    0,    0,    0x0A, 'I',  'D',  'A',  'T',  0x78,
    0x9C, 0x63, 0x60, 0,    0,    0,    2,    0,    1,    0x48, 0xAF, 0xA4, 0x71, 0,
    0,    0,    0,    'I',  'E',  'N',  'D',  0xAE, 0x42, 0x60, 0x82};

void fill(const Path& captures) {
  std::filesystem::create_directories(captures);
  const auto old = std::filesystem::file_time_type::clock::now() - std::chrono::hours(1);
  for (int i = 0; i < fileCount; ++i) {
    const Path path = captures / fmt::format("Screenshot 2026-01-01 at 10.00.00 {}.png", i + 2);
    std::ofstream(path).write(reinterpret_cast<const char*>(pixel.data()), pixel.size());
    std::filesystem::last_write_time(path, old);
  }
}

void holdsTheMainRunner(benchmark::State& state) {
  setLogSink([](LogLevel, std::string_view, std::string_view) {});
  std::string name = (std::filesystem::temp_directory_path() / "vantorel-bench-XXXXXX").string();
  if (::mkdtemp(name.data()) == nullptr) return state.SkipWithError("no folder");
  const Path root = name;
  const Path captures = root / "captures";
  fill(captures);
  using Verb = command::Library::Verb;
  for (const auto& unused : state) {
    (void)unused;
    Tray tray(root);
    Library& library = tray.library;
    const auto isCount = [&](std::size_t count) {
      if (library.store().entries().size() != count) state.SkipWithError("not every capture");
    };
    std::set<std::string> known;
    const auto report = [&](const std::string& what, double longest) {
      state.counters[fmt::format("{:02} {}", known.size() + 1, what)] = longest;
      state.counters[fmt::format("{:02} {} cpu", known.size() + 1, what)] = tray.main->processor;
      known.insert(what);
    };
    report("open", tray.longestOf([&](const std::function<void()>& done) {
      library.open();
      library.whenReady(done);
    }));
    tray.follow();
    library.disk().whenMeasured([](std::uint64_t) {});
    report("adopt", tray.run({.verb = Verb::verify, .repairs = true}));
    isCount(fileCount);
    report("after it", tray.rest(std::chrono::seconds(4)));
    command::Library all{.verb = Verb::trash};
    for (const EntryPointer& entry : library.store().entries()) all.ids.push_back(entry->id);
    report("trash", tray.run(all));
    isCount(0);
    report("undo", tray.run({.verb = Verb::undo}));
    isCount(fileCount);
    report("after undo", tray.rest(std::chrono::seconds(4)));
    report("verify", tray.run({.verb = Verb::verify}));
    report("retain", tray.longestOf([&](std::function<void()> done) {
      library.retention().onQuestion = [&](std::size_t, RetentionPolicy policy) {
        library.retention().answer(policy, true);
      };
      library.retention().setPolicy(RetentionPolicy::week);
      tray.main->postAfter(std::chrono::seconds(1), [&, done = std::move(done)]() mutable {
        library.deletion().settle(std::move(done));
      });
    }));
    isCount(0);
    library.retention().setPolicy(RetentionPolicy::off);
    fill(captures);
    (void)tray.run({.verb = Verb::verify, .repairs = true});
    isCount(fileCount);
    (void)tray.rest(std::chrono::seconds(4));
    std::filesystem::remove_all(captures);
    std::filesystem::create_directories(captures);
    report("prune", tray.run({.verb = Verb::prune}));
    report("went", tray.rest(std::chrono::seconds(6)));
  }
  std::filesystem::remove_all(root);
}
BENCHMARK(holdsTheMainRunner)->Iterations(1)->Unit(benchmark::kSecond);

}  // namespace
}  // namespace vantorel
