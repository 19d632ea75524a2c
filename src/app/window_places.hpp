#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/lifetime.hpp"
#include "base/task_runner.hpp"
#include "platform/files.hpp"

namespace vantorel {

/// Where a window was, in the toolkit's units on its desktop.
struct WindowPlace {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
  bool isMaximized = false;

  bool operator==(const WindowPlace&) const = default;
};

/// Remembers where windows were, apart for each set of displays. Lives on the main runner and never
/// waits for the disk.
class WindowPlaces {
 public:
  virtual ~WindowPlaces() = default;

  /// Nothing when the window was never open with these displays, or the file is not read yet.
  [[nodiscard]] virtual std::optional<WindowPlace> restore(const std::string& window,
                                                           const std::string& displays) const = 0;
  virtual void remember(const std::string& window, const std::string& displays,
                        const WindowPlace& place) = 0;
};

/// In one small JSON file for its owner alone. Read on `io` from the start on, and written there a
/// moment after the last change. A newer build's file is left alone, and changes last only for this
/// run then; one that makes no sense is kept beside the new one.
class WindowPlacesFile final : public WindowPlaces {
 public:
  struct Services {
    Files& files;
    std::shared_ptr<TaskRunner> main;
    std::shared_ptr<TaskRunner> io;  ///< a serial queue
  };

  /// Of this many windows and sets of displays, those used last.
  static constexpr std::size_t mostKept = 64;

  WindowPlacesFile(Services services, Path file);

  [[nodiscard]] std::optional<WindowPlace> restore(const std::string& window,
                                                   const std::string& displays) const override;
  void remember(const std::string& window, const std::string& displays,
                const WindowPlace& place) override;

  /// Hands what was changed to the disk at once, for a program that ends.
  void write();

  struct Kept {
    std::string window;
    std::string displays;
    WindowPlace place;
  };

 private:
  void put(Kept kept);

  Services services_;
  Path file_;
  std::vector<Kept> kept_;  ///< the one used last first
  bool isRead_ = false;
  bool isChanged_ = false;
  Lifetime debounce_;
  Lifetime lifetime_;
};

}  // namespace vantorel
