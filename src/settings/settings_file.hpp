#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/lifetime.hpp"
#include "base/task_runner.hpp"
#include "platform/defaults_store.hpp"
#include "platform/files.hpp"
#include "platform/folder_watcher.hpp"

namespace vantorel {

/// Preferences in one JSON object in one file, for its owner alone. Each write reads the file again
/// under a lock and changes only the keys set here, so that processes of one user keep each other's
/// changes and the keys of other builds. A file that is a link, as among settings that are kept
/// elsewhere, is written where it leads. Lives on the main runner; writes run on `io`.
class SettingsFile final : public DefaultsStore {
 public:
  struct Services {
    Files& files;
    std::shared_ptr<TaskRunner> main;
    std::shared_ptr<TaskRunner> io;    ///< a serial queue
    FolderWatcher* watcher = nullptr;  ///< without one, changes by others show at the next write
  };

  /// Reads the file at once: it is small and everything waits for it.
  SettingsFile(Services services, Path file);
  ~SettingsFile() override;

  /// What was wrong with the file at start, as a sentence for the user. One that makes no sense
  /// stays as it is until something is changed; one that cannot be read is left alone, so that
  /// changes last only for this run.
  [[nodiscard]] const std::optional<std::string>& problem() const { return problem_; }

  /// Called with a sentence for the user, once per damage, when the file makes no sense for some
  /// seconds: the values held here stay in force. And when a write found it so: it was put aside,
  /// and written anew from those values. An empty sentence when what was told of is put right.
  void onProblem(std::function<void(const std::string& sentence)> listener);

  [[nodiscard]] std::optional<JSONValue> value(std::string_view key) const override;
  void set(std::string_view key, JSONValue value) override;
  void remove(std::string_view key) override;
  void onOutsideChange(std::function<void(std::string_view key)> listener) override;
  void onUnsaved(std::function<void(const std::string& reason)> listener) override;
  void flush(std::move_only_function<void(Result<void>)> done) override;

 private:
  using Values = std::map<std::string, JSONValue, std::less<>>;
  using Changes = std::map<std::string, std::optional<JSONValue>, std::less<>>;
  class Disk;
  struct Applied {
    Values values;              ///< now in the file
    std::optional<Path> aside;  ///< where a file lies now that made no sense
  };

  void changed(std::string_view key, std::optional<JSONValue> value);
  void schedule(std::chrono::nanoseconds delay);
  void write();
  void written(Result<Applied> result);
  void readAgain();
  [[nodiscard]] std::string damageSentence(std::string_view damage,
                                           std::string_view consequence) const;
  void reportDamage(const std::string& reason);
  void adopt(Values values);
  void watch();
  [[nodiscard]] bool isOurs(std::string_view key) const;

  Services services_;
  Path file_;
  std::shared_ptr<Disk> disk_;
  std::optional<std::string> problem_;
  bool blocked_ = false;
  Values values_;
  Changes pending_;  // set here and not yet handed to a write
  Changes writing_;  // handed to the write in flight
  bool inFlight_ = false;
  std::vector<std::move_only_function<void(Result<void>)>> waiting_;  // for the pending changes
  std::vector<std::move_only_function<void(Result<void>)>> landing_;  // for the write in flight
  std::function<void(std::string_view key)> listener_;
  std::function<void(const std::string& sentence)> problemListener_;
  std::function<void(const std::string& reason)> unsavedListener_;
  std::unique_ptr<FolderWatch> watch_;
  std::string writeFailure_;       // of the last write; empty when it landed
  bool isDamageReported_ = false;  // until the file makes sense again
  Lifetime debounce_;
  Lifetime damage_;
  Lifetime lifetime_;
};

}  // namespace vantorel
