#include "platform/testing/desktop/test_desktop.hpp"

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <cstdlib>
#include <functional>
#include <stdexcept>
#include <thread>

#include "platform/testing/desktop/test_client.hpp"

namespace vantorel {
namespace {

/// Waits for the one line that a server writes to the pipe when it is ready.
std::string firstLine(int pipe, ChildProcess& child, const char* what) {
  std::string line;
  while (line.find('\n') == std::string::npos) {
    pollfd waiting{pipe, POLLIN, 0};
    char bytes[256];
    const ssize_t got = poll(&waiting, 1, 15'000) == 1 ? ::read(pipe, bytes, sizeof bytes) : 0;
    if (got <= 0) {
      throw std::runtime_error(fmt::format("{} did not start: {}", what, child.errorText()));
    }
    line.append(bytes, static_cast<std::size_t>(got));
  }
  line.resize(line.find('\n'));
  return line;
}

void awaitDesktop(const char* what, ChildProcess& child, const std::function<bool()>& ready) {
  for (int tries = 0; tries < 2000; ++tries) {
    if (ready()) return;
    if (!child.isRunning()) break;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  throw std::runtime_error(fmt::format("{} did not start: {}", what, child.errorText()));
}

struct Pipe {
  int ends[2] = {-1, -1};
  Pipe() {
    if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;
  ~Pipe() {
    ::close(ends[0]);
    closeWriteEnd();
  }
  void closeWriteEnd() {
    if (ends[1] >= 0) ::close(ends[1]);
    ends[1] = -1;
  }
};

}  // namespace

TestDesktop::TestDesktop(TestDesktopOptions options) {
  std::string pattern = std::filesystem::temp_directory_path() / "vantorel-test-XXXXXX";
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder");
  folder_ = pattern;
  const auto makeFolder = [&](const char* name) {
    const auto path = folder_ / name;
    std::filesystem::create_directory(path);
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    return path.string();
  };
  const char* path = std::getenv("PATH");
  environment_ = {{"HOME", makeFolder("home")},
                  {"XDG_RUNTIME_DIR", makeFolder("run")},
                  {"XDG_DATA_HOME", makeFolder("data")},
                  {"XDG_CONFIG_HOME", makeFolder("config")},
                  {"XDG_CONFIG_DIRS", makeFolder("shared") + ":/etc/xdg"},
                  {"XDG_CACHE_HOME", makeFolder("cache")},
                  {"XDG_STATE_HOME", makeFolder("state")},
                  {"PATH", path != nullptr ? path : "/usr/bin:/bin"},
                  {"LC_ALL", "C.UTF-8"},
                  {"OMP_THREAD_LIMIT", "1"}};
  if (options.accessibility) environment_["QT_LINUX_ACCESSIBILITY_ALWAYS_ON"] = "1";
  try {
    if (options.bus) startBus();
    if (options.screen) startServer(options);
  } catch (...) {
    std::filesystem::remove_all(folder_);
    throw;
  }
}

void TestDesktop::startServer(const TestDesktopOptions& options) {
  Pipe ready;
  server_.emplace(std::vector<std::string>{"Xvfb", "-displayfd", "3", "-screen", "0",
                                           fmt::format("{}x{}x{}", options.screen->width,
                                                       options.screen->height, options.depth),
                                           "-nolisten", "tcp", "-noreset"},
                  environment_, ready.ends[1]);
  ready.closeWriteEnd();
  display_ = ":" + firstLine(ready.ends[0], *server_, "Xvfb");
  environment_["DISPLAY"] = display_;
  environment_["XDG_SESSION_TYPE"] = "x11";
  if (!options.windowManager && !options.compositor) return;
  TestClient client(display_);
  if (options.windowManager) {
    windowManager_.emplace(std::vector<std::string>{"openbox"}, environment_);
    awaitDesktop("openbox", *windowManager_, [&] {
      return client.hasRootProperty("_NET_SUPPORTING_WM_CHECK") && client.windowsGetMapped();
    });
  }
  if (options.compositor) {
    compositor_.emplace(
        std::vector<std::string>{"picom", "--backend", "xrender", "--no-fading-openclose"},
        environment_);
    awaitDesktop("picom", *compositor_,
                 [&] { return client.isOwned("_NET_WM_CM_S0") && client.windowsAreRedirected(); });
  }
}

void TestDesktop::startBus() {
  Pipe ready;
  bus_.emplace(
      std::vector<std::string>{"dbus-daemon", "--session", "--nofork", "--print-address=3"},
      environment_, ready.ends[1]);
  ready.closeWriteEnd();
  busAddress_ = firstLine(ready.ends[0], *bus_, "dbus-daemon");
  environment_["DBUS_SESSION_BUS_ADDRESS"] = busAddress_;
}

TestDesktop::~TestDesktop() {
  if (environmentBefore_) {
    for (const auto& [key, value] : *environmentBefore_) {
      if (value) {
        setenv(key.c_str(), value->c_str(), 1);
      } else {
        unsetenv(key.c_str());
      }
    }
  }
  compositor_.reset();
  windowManager_.reset();
  server_.reset();
  bus_.reset();
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

void TestDesktop::enter() {
  environmentBefore_.emplace();
  const auto keep = [&](const std::string& key) {
    const char* before = std::getenv(key.c_str());
    (*environmentBefore_)[key] =
        before != nullptr ? std::optional<std::string>(before) : std::nullopt;
  };
  for (const char* key : {"DISPLAY", "WAYLAND_DISPLAY", "XDG_SESSION_TYPE",
                          "DBUS_SESSION_BUS_ADDRESS", "VANTOREL_PLATFORM"}) {
    keep(key);
    unsetenv(key);
  }
  for (const auto& [key, value] : environment_) {
    if (!environmentBefore_->contains(key)) keep(key);
    setenv(key.c_str(), value.c_str(), 1);
  }
}

ChildProcess TestDesktop::start(std::vector<std::string> arguments) const {
  return {std::move(arguments), environment_};
}

std::string TestDesktop::run(std::vector<std::string> arguments) const {
  const std::string name = arguments.at(0);
  const auto outcome = start(std::move(arguments)).wait();
  if (outcome.status != 0) {
    throw std::runtime_error(
        fmt::format("{} ended with {}: {}", name, outcome.status, outcome.err));
  }
  return outcome.out;
}

void TestDesktop::setMonitors(const std::vector<Monitor>& monitors) {
  for (const auto& name : monitors_) run({"xrandr", "--delmonitor", name});
  monitors_.clear();
  for (const auto& [name, area] : monitors) {
    const bool first = monitors_.empty();
    run({"xrandr", "--setmonitor", (first ? "*" : "") + name,
         fmt::format("{}/{}x{}/{}+{}+{}", area.width, area.width / 4, area.height, area.height / 4,
                     area.x, area.y),
         first ? "screen" : "none"});
    monitors_.push_back(name);
  }
}

}  // namespace vantorel
