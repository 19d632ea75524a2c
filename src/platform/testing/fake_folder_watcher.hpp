#pragma once

#include <map>
#include <memory>

#include "platform/folder_watcher.hpp"

namespace vantorel {

/// Watches nothing by itself: tests say what happened. One thread.
class FakeFolderWatcher final : public FolderWatcher {
 public:
  /// Folders that cannot be watched, and why.
  std::map<Path, FailureKind> failing;

  /// Calls of `watch` so far, by folder.
  std::map<Path, int> attempts;

  void happen(const Path& folder, FolderEvent::Kind kind, const std::string& name = "",
              std::uint32_t move = 0) {
    for (const auto& [weak, watched] : sinks_) {
      if (watched != folder) continue;
      if (const auto sink = weak.lock()) {
        sink->runner->post([target = std::weak_ptr(sink), event = FolderEvent{kind, name, move}] {
          if (const auto lifetime = target.lock()) lifetime->onEvent(event);
        });
      }
    }
  }

  [[nodiscard]] bool isWatched(const Path& folder) const {
    for (const auto& [weak, watched] : sinks_) {
      if (watched == folder && !weak.expired()) return true;
    }
    return false;
  }

  Result<std::unique_ptr<FolderWatch>> watch(
      const Path& folder, std::shared_ptr<TaskRunner> runner,
      std::function<void(const FolderEvent&)> onEvent) override {
    ++attempts[folder];
    if (const auto found = failing.find(folder); found != failing.end()) {
      return failed(found->second, "the folder cannot be watched");
    }
    auto sink = std::make_shared<Sink>();
    sink->runner = std::move(runner);
    sink->onEvent = std::move(onEvent);
    sinks_.emplace(sink, folder);
    return std::make_unique<Watch>(std::move(sink));
  }

 private:
  struct Sink {
    std::shared_ptr<TaskRunner> runner;
    std::function<void(const FolderEvent&)> onEvent;
  };
  struct Watch final : FolderWatch {
    explicit Watch(std::shared_ptr<Sink> held) : sink(std::move(held)) {}
    std::shared_ptr<Sink> sink;
  };

  std::map<std::weak_ptr<Sink>, Path, std::owner_less<>> sinks_;
};

}  // namespace vantorel
