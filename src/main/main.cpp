#include <fmt/format.h>
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <thread>

#include "app/command_table.hpp"
#include "base/log.hpp"
#include "base/path_text.hpp"
#include "cli/command_line.hpp"
#include "cli/completion_script.hpp"
#include "main/clipboard_holder.hpp"
#include "main/detached_process.hpp"
#include "main/ending_signals.hpp"
#include "main/offered_captures.hpp"
#include "main/program.hpp"
#include "main/terminal_surfaces.hpp"
#include "main/text_scan.hpp"
#include "main/tray_lock.hpp"
#include "main/ui_module.hpp"
#include "platform/linux/command_bus.hpp"
#include "platform/linux/desktop_session.hpp"
#include "platform/linux/file_server.hpp"
#include "platform/linux/linux_image_codec.hpp"
#include "platform/linux/loop_runner.hpp"
#include "platform/linux/remote_files.hpp"
#include "platform/linux/runtime_folder.hpp"
#include "platform/linux/system_error.hpp"
#include "platform/linux/user_folders.hpp"
#include "platform/linux/x_authority.hpp"

namespace vantorel {
namespace {

int print(const BusReply& reply) {
  // A full disk must not look like success.
  const bool isWritten =
      std::fwrite(reply.output.data(), 1, reply.output.size(), stdout) == reply.output.size() &&
      std::fflush(stdout) == 0;
  const int error = errno;
  std::fwrite(reply.error.data(), 1, reply.error.size(), stderr);
  if (isWritten) return reply.status;
  fmt::print(stderr, "Couldn't write to standard output: {}.\n",
             systemFailure(error).error().reason);
  return reply.status == 0 ? static_cast<int>(ExitStatus::failed) : reply.status;
}

/// Ends the process with what was printed flushed, and without waiting for threads that hang in a
/// disk or a service that does not answer. Everything that must be on disk is there by now.
[[noreturn]] void leave(int status) {
  std::fflush(nullptr);
  std::_Exit(status);
}

/// The toolkit ends the process by itself when the display server goes, in the midst of what other
/// threads do: what they use must not be torn down under them. What `program` has in memory alone
/// is made safe first. For once everything is built.
void leaveWithoutTearingDown(Program& program) {
  static Program* running = nullptr;
  running = &program;
  (void)std::atexit([] {
    running->rescue();
    leave(static_cast<int>(ExitStatus::failed));
  });
}

/// What a command sent by another process says, read as if typed in its folder.
std::variant<CommandLine, CommandLineAnswer> parseRequest(const BusRequest& request) {
  return parseCommandLine(request.arguments, request.folder);
}

BusReply toBus(CommandReply reply) {
  return {static_cast<int>(reply.status), std::move(reply.output), std::move(reply.error)};
}

/// Pictures come and go. By default the memory of the first one as large as the screen would make
/// the allocator keep twice that much for every thread from then on, and threads that do little
/// would have a heap of their own each.
void giveMemoryBack() {
  constexpr int megabyte = 1 << 20;
  (void)::mallopt(M_MMAP_THRESHOLD, 16 * megabyte);
  (void)::mallopt(M_ARENA_MAX, 2);
  (void)::mallopt(M_TRIM_THRESHOLD, megabyte / 2);  // which each heap keeps
}

/// A command that is about to end cannot do what the desktop wants; another process can, once this
/// one is gone.
void startAnother(const std::vector<std::string>& arguments) {
  if (const auto started = startDetached(arguments); !started) {
    logWarning("Command", "the program could not be started: {}", started.error().reason);
  }
}

void serve(CommandBus& bus, std::shared_ptr<TaskRunner> main, Program& program, bool resident) {
  bus.serve(
      std::move(main),
      {.accepts =
           [resident](const BusRequest& request) {
             if (resident) return true;
             const auto parsed = parseRequest(request);
             const auto* line = std::get_if<CommandLine>(&parsed);
             return line == nullptr || !line->needsWindows();
           },
       .run =
           [&program](const BusRequest& request, const CommandBus::Done& done) {
             auto parsed = parseRequest(request);
             if (const auto* answer = std::get_if<CommandLineAnswer>(&parsed)) {
               done({static_cast<int>(answer->status), {}, answer->text});
               return;
             }
             program.run(
                 std::get<CommandLine>(parsed),
                 [done](CommandReply reply) { done(toBus(std::move(reply))); },
                 {request.requester, [notify = request.notify](const CommandProgress& progress) {
                    notify({progress.done, progress.total, std::string(progress.words)});
                  }});
           },
       .requesterGone =
           [&program](const std::string& requester) { program.requesterGone(requester); },
       .cancel = [&program](const std::string& requester) { program.callOff(requester); },
       .activate =
           [&program, resident] {
             if (resident) return program.startedAgain();
             startAnother({});
           },
       .open =
           [&program, resident](const std::vector<std::string>& uris) {
             if (resident) return program.openFiles(uris);
             std::vector<std::string> arguments{"edit"};
             for (std::string& file : pathsOfURIs(uris)) arguments.push_back(std::move(file));
             startAnother(arguments);
           },
       .knows =
           [resident](const std::string& action) {
             const DesktopCommand* const command = findDesktopCommand(action);
             return command != nullptr && (resident || !command->arguments.empty());
           },
       .perform =
           [&program, resident](const std::string& action) {
             const DesktopCommand& command = *findDesktopCommand(action);
             if (resident) return program.perform(command);
             startAnother(command.arguments);
           }});
}

/// A folder of that name would begin an empty library, in which nobody finds anything.
bool isMisspelt(const Files& files, const Path& root) {
  const Path folder = root.has_filename() ? root : root.parent_path();
  const auto above = files.status(folder.parent_path() / ".");
  return !above && above.error().kind == FailureKind::notFound;
}

/// Runs one command in this process, without living on.
int runOnce(const CommandLine& line, const std::optional<Path>& root,
            std::shared_ptr<RemoteFiles> files, CommandBus& bus, EndingSignals& signals,
            const std::shared_ptr<TaskRunner>& main, DesktopUi* ui,
            const std::function<void()>& runLoop, std::function<void()> quitLoop) {
  Program program(root, std::move(files), main, ui, [] {});
  serve(bus, main, program, false);
  leaveWithoutTearingDown(program);
  TerminalProgress progress;
  BusReply own;
  program.run(line,
              [&](CommandReply reply) {
                own = toBus(std::move(reply));
                program.finish([&] { bus.end(quitLoop); });
              },
              {{}, [&](const CommandProgress& at) { progress.show(at.done, at.total, at.words); }});
  std::atomic<int> endedBy = 0;
  signals.work([&](int signal) {
    int none = 0;
    endedBy.compare_exchange_strong(none, signal);
    // A terminal that closes is nobody's wish to throw away what was scrolled.
    main->post([&program, isWish = signal == SIGINT] {
      isWish ? program.callOff() : program.requesterGone({});
    });
  });
  runLoop();
  progress.end();
  if (own.status == static_cast<int>(ExitStatus::interrupted)) own.status = 128 + endedBy;
  const int status = print(own);
  program.handOverClipboard();
  program.releaseLibrary();
  leave(status);
}

/// How long the end may take once everything is on disk: a display server or a bus that hangs is
/// not waited for.
constexpr std::chrono::seconds endBound{5};

[[noreturn]] void live(const std::optional<Path>& root, std::shared_ptr<RemoteFiles> files,
                       CommandBus& bus, EndingSignals& signals, DesktopUi& ui, TrayLock& tray,
                       std::optional<long> otherTray, const CommandLine& line) {
  Program program(root, std::move(files), ui.mainRunner(), &ui, [&] {
    std::thread([] {
      std::this_thread::sleep_for(endBound);
      leave(0);
    }).detach();
    tray.beginEnd();
    bus.end([&ui] { ui.quit(0); });
  });
  serve(bus, ui.mainRunner(), program, true);
  leaveWithoutTearingDown(program);
  program.startResident(tray, otherTray);
  int failed = 0;
  if (const auto* const shown = std::get_if<command::Show>(&line.command)) {
    program.show(shown->window);
  } else if (!std::holds_alternative<command::Run>(line.command)) {
    program.run(line, [&](CommandReply reply) {
      const int status = print(toBus(std::move(reply)));
      // Whoever sees nothing would not know what stayed behind.
      if (status == 0 || program.hasPictures()) return;
      failed = status;
      program.quit();
    });
  }
  signals.work([&](int) { ui.mainRunner()->post([&program] { program.quitUnasked(); }); });
  const int status = std::max(ui.run(), failed);
  program.handOverClipboard();
  program.releaseLibrary();
  leave(status);
}

int run(int argc, char** argv) {
  if (argc == 2 && std::string_view(argv[1]) == clipboardHolderArgument) holdClipboard();
  if (argc == 2 && std::string_view(argv[1]) == fileServerArgument) serveFiles();
  if (argc >= 2 && std::string_view(argv[argc - 1]) == offeredCapturesArgument) {
    const bool namesRoot = argc == 4 && std::string_view(argv[1]) == "--root";
    return print({0, offeredCaptures(namesRoot ? std::optional<Path>(argv[2]) : std::nullopt), {}});
  }
  // Gone when the folder was deleted; then only whole paths mean something.
  std::error_code noFolder;
  const BusRequest request{{argv + 1, argv + argc},
                           std::filesystem::current_path(noFolder).string()};
  auto parsed = parseRequest(request);
  if (const auto* answer = std::get_if<CommandLineAnswer>(&parsed)) {
    const bool ok = answer->status == ExitStatus::done;
    return print(
        {static_cast<int>(answer->status), ok ? answer->text : "", ok ? "" : answer->text});
  }
  const CommandLine& line = std::get<CommandLine>(parsed);
  std::optional<Path> root;
  if (line.root) root = (Path(request.folder) / *line.root).lexically_normal();
  if (line.printsPicture() && isatty(STDOUT_FILENO) != 0) {
    return print(
        {2, {}, "--output - is a picture, not for a terminal: send it to a file or a program.\n"});
  }

  if (const auto* const scanned = line.scannedText()) {
    return print(toBus(scanText(scanned->file, line.json)));
  }
  const auto files = std::make_shared<RemoteFiles>();
  if (const auto* const stitched = line.stitched()) {
    return print(toBus(stitchFrames(*stitched, line.json, *files, LinuxImageCodec())));
  }
  if (root && isMisspelt(*files, *root)) {
    return print({static_cast<int>(ExitStatus::usage),
                  {},
                  fmt::format("--root {}: the folder above it is missing.\n", *line.root)});
  }
  keepXAuthority(*files);
  leaveSilentRuntimeFolder(*files);
  // Asked before anything is built: most commands go to the program that runs already.
  CommandBus bus(CommandBus::nameFor(root, *files));
  std::optional<EndingSignals> signals(std::in_place, [&bus] { bus.cancel(); });
  TerminalProgress progress;
  const CommandBus::Started started = bus.start(
      request, [&progress](const BusProgress& at) { progress.show(at.done, at.total, at.words); });
  if (started.role == CommandBus::Role::forwarded) {
    signals.reset();
    progress.end();
    return print(started.reply);
  }

  const LibraryPaths library{
      (root ? UserFolders::below(*root) : UserFolders::ofThisUser(*files)).data, {}};
  if (std::holds_alternative<command::Quit>(line.command)) {
    signals.reset();
    return print(quitTray(*files, library));
  }
  const bool isResident = line.livesOn();
  const bool isAlone = started.role == CommandBus::Role::alone;
  TrayLock tray(*files, library);
  // One that has given up its name on the bus may still have something to save.
  std::optional<long> otherTray;
  if (isResident && !tray.take(endBound + endBound)) {
    otherTray = trayProcess(*files, library);
    if (isAlone && otherTray) return print(toBus(failedReply(unreachableTraySentence(*otherTray))));
  }

  if (line.needsWindows()) {
    auto loaded = loadDesktopUi();
    if (!loaded) {
      return print({1, {}, "Vantorel can't show windows: " + loaded.error().reason + ".\n"});
    }
    DesktopUi& ui = **loaded;
    if (isResident) live(root, files, bus, *signals, ui, tray, otherTray, line);
    return runOnce(
        line, root, files, bus, *signals, ui.mainRunner(), &ui, [&] { ui.run(); },
        [&] { ui.quit(0); });
  }
  LoopRunner loop;
  return runOnce(
      line, root, files, bus, *signals, loop.runner(), nullptr, [&] { loop.run(); },
      [&] { loop.quit(); });
}

}  // namespace
}  // namespace vantorel

int main(int argc, char** argv) {
  vantorel::nameXAuthority();
  vantorel::giveMemoryBack();
  try {
    return vantorel::run(argc, argv);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "Vantorel failed: %s\n", error.what());
    return 1;
  }
}
