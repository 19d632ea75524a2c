#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>

#include "app/app_window.hpp"
#include "base/task_runner.hpp"

namespace vantorel {

/// An open window, as much as the registry needs to know of it.
class Surface {
 public:
  virtual ~Surface() = default;
  virtual void bringForward() = 0;

  /// Closes it, once the user has said what becomes of what is not saved. `done` is told whether it
  /// is closed: the user may want to keep it open.
  // NOLINTNEXTLINE(performance-unnecessary-value-param): those who can ask keep it
  virtual void requestClose(std::function<void(bool closed)> done) { done(false); }

  /// Where collections are shown: makes one that is filed into, and has its name written.
  virtual void addCollection() {}
};

/// Zero or one window.
class WindowSlot {
 public:
  explicit WindowSlot(std::shared_ptr<TaskRunner> main) : main_(std::move(main)) {}

  /// Brings the open window forward, or opens one. `open` may answer null when it cannot.
  void show(const std::function<std::shared_ptr<Surface>()>& open);
  /// Lets go of it once its own event, which told of this, is over.
  void closed() {
    main_->post([window = std::move(window_)] {});
  }
  [[nodiscard]] bool isOpen() const { return window_ != nullptr; }

  /// Null while there is none.
  [[nodiscard]] Surface* surface() const { return window_.get(); }

 private:
  std::shared_ptr<TaskRunner> main_;
  std::shared_ptr<Surface> window_;
};

/// At most one window for each library entry.
class KeyedWindows {
 public:
  explicit KeyedWindows(std::shared_ptr<TaskRunner> main) : main_(std::move(main)) {}

  void show(const std::string& entryID, const std::function<std::shared_ptr<Surface>()>& open) {
    WindowSlot& slot = windows_.try_emplace(entryID, main_).first->second;
    slot.show(open);
    if (!slot.isOpen()) windows_.erase(entryID);
  }
  void closed(const std::string& entryID) {
    const auto found = windows_.find(entryID);
    if (found == windows_.end()) return;
    found->second.closed();
    windows_.erase(found);
  }
  [[nodiscard]] bool isOpen(const std::string& entryID) const { return windows_.contains(entryID); }

  /// Null while there is none.
  [[nodiscard]] Surface* surface(const std::string& entryID) const {
    const auto found = windows_.find(entryID);
    return found == windows_.end() ? nullptr : found->second.surface();
  }

  /// What was open under one name is so under another one from now on, which is free.
  void rename(const std::string& from, const std::string& to) {
    auto node = windows_.extract(from);
    if (node.empty()) return;
    node.key() = to;
    windows_.insert(std::move(node));
  }

 private:
  std::shared_ptr<TaskRunner> main_;
  std::map<std::string, WindowSlot> windows_;
};

/// The open windows, so that asking for the same thing twice brings the one there is forward. Lives
/// on the main runner.
struct SurfaceRegistry {
  explicit SurfaceRegistry(const std::shared_ptr<TaskRunner>& main)
      : editors(main),
        pinned(main),
        text(main),
        gifPlayers(main),
        settings(main),
        help(main),
        welcome(main),
        studioShortcuts(main),
        history(main),
        combine(main) {}

  [[nodiscard]] WindowSlot& slot(AppWindow window);

  KeyedWindows editors;
  KeyedWindows pinned;
  KeyedWindows text;
  KeyedWindows gifPlayers;
  WindowSlot settings;
  WindowSlot help;
  WindowSlot welcome;
  WindowSlot studioShortcuts;
  WindowSlot history;
  WindowSlot combine;
};

}  // namespace vantorel
