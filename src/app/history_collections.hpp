#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/lifetime.hpp"
#include "base/task_runner.hpp"
#include "library/library.hpp"
#include "settings/settings_store.hpp"

namespace vantorel {

/// Makes and changes collections for the user. A removed one can be had back for as long as a
/// deletion. Lives on the main runner.
class HistoryCollections {
 public:
  /// `onUndoChange` is told when a removal can be undone, and when it no longer can.
  HistoryCollections(Library& library, SettingsStore& settings, std::shared_ptr<TaskRunner> main,
                     std::function<void()> onUndoChange);

  /// Answers its id. A name that is taken gets a number: "Poster 2".
  [[nodiscard]] Result<std::string> create(const std::string& name);
  [[nodiscard]] Result<void> rename(const std::string& id, const std::string& name);

  /// Its captures stay.
  [[nodiscard]] Result<void> remove(const std::string& id);

  /// To that place in the user's order.
  [[nodiscard]] Result<void> move(const std::string& id, std::size_t place);

  /// New captures are filed into it; nothing: into none.
  void fileInto(const std::optional<std::string>& id);

  struct Removed {
    HistoryCollection collection;
    std::size_t place = 0;
    std::vector<std::string> members;  ///< ids
    bool wasFiledInto = false;
    std::chrono::nanoseconds undoEnds{0};  ///< on the clock that never jumps
  };
  [[nodiscard]] const std::optional<Removed>& pendingUndo() const { return removed_; }

  /// Puts it back with those of its captures that are there still.
  [[nodiscard]] Result<void> undo();

 private:
  Library& library_;
  SettingsStore& settings_;
  std::shared_ptr<TaskRunner> main_;
  std::function<void()> onUndoChange_;
  std::optional<Removed> removed_;
  Lifetime timer_;
};

}  // namespace vantorel
