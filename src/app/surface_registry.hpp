#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>

namespace vantorel {

/// An open window, as much as the registry needs to know of it.
class Surface {
 public:
  virtual ~Surface() = default;
  virtual void bringForward() = 0;
};

/// Zero or one window.
class WindowSlot {
 public:
  /// Brings the open window forward, or opens one. `open` may answer null when it cannot.
  void show(const std::function<std::shared_ptr<Surface>()>& open);
  void closed() { window_.reset(); }
  [[nodiscard]] bool isOpen() const { return window_ != nullptr; }

 private:
  std::shared_ptr<Surface> window_;
};

/// At most one window for each library entry.
class KeyedWindows {
 public:
  void show(const std::string& entryID, const std::function<std::shared_ptr<Surface>()>& open) {
    windows_[entryID].show(open);
    if (!windows_[entryID].isOpen()) windows_.erase(entryID);
  }
  void closed(const std::string& entryID) { windows_.erase(entryID); }
  [[nodiscard]] bool isOpen(const std::string& entryID) const { return windows_.contains(entryID); }

 private:
  std::map<std::string, WindowSlot> windows_;
};

/// The open windows, so that asking for the same thing twice brings the one there is forward. Lives
/// on the main runner.
struct SurfaceRegistry {
  KeyedWindows editors;
  KeyedWindows pinned;
  KeyedWindows text;
  KeyedWindows gifPlayers;
  WindowSlot settings;
  WindowSlot help;
  WindowSlot studioShortcuts;
  WindowSlot history;
  WindowSlot combine;
};

}  // namespace vantorel
