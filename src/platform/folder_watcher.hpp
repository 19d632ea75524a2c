#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "base/result.hpp"
#include "base/task_runner.hpp"
#include "platform/files.hpp"

namespace vantorel {

/// Something that happened directly inside a watched folder.
struct FolderEvent {
  enum class Kind {
    appeared,     ///< a file was made or moved here; `changed` follows when it is being written
    changed,      ///< a file's content was written anew
    disappeared,  ///< a file was deleted or moved away
    folderGone,   ///< the folder was deleted, moved or unmounted; nothing more comes
    overflowed,   ///< events were lost: anything may have happened
  };

  Kind kind = Kind::changed;
  std::string name{};  ///< of the file; empty for the last two

  /// The same for the two events of one move, from one watched folder to another or within one, and
  /// for no other events that come near it; 0 when the file was not moved.
  std::uint32_t move = 0;
};

/// Ends the watch when it goes; no event comes after that.
class FolderWatch {
 public:
  virtual ~FolderWatch() = default;
};

/// Tells of files that appear, change and disappear in folders. Any thread.
class FolderWatcher {
 public:
  virtual ~FolderWatcher() = default;

  /// Watches one folder, not those below it. Events come on `runner`, on which the watch is also
  /// given up. May block for as long as the folder's disk takes to answer. Fails with `notFound`,
  /// `denied`, or `tooLarge` when the system's number of watches is used up.
  [[nodiscard]] virtual Result<std::unique_ptr<FolderWatch>> watch(
      const Path& folder, std::shared_ptr<TaskRunner> runner,
      std::function<void(const FolderEvent&)> onEvent) = 0;
};

}  // namespace vantorel
