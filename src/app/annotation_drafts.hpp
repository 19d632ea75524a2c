#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/annotation_draft.hpp"
#include "base/lifetime.hpp"
#include "base/task_runner.hpp"
#include "platform/files.hpp"

namespace vantorel {

/// Keeps annotations that were not saved over the end of the program, however it ends: one small
/// JSON file for each capture that is edited, for its owner alone, in a folder of their own. A file
/// of a newer build is left alone, and one beside it used. Lives on the main runner; reads and
/// writes on `io`.
class AnnotationDrafts {
 public:
  struct Services {
    std::shared_ptr<TaskRunner> main;
    std::shared_ptr<TaskRunner> io;  ///< a serial queue that may block
    std::shared_ptr<Files> files;
    Path folder;
  };

  explicit AnnotationDrafts(Services services) : services_(std::move(services)) {}

  /// By what a draft is found again.
  [[nodiscard]] static std::string keyOfEntry(std::string_view id);
  [[nodiscard]] static std::string keyOfFile(const Path& file);
  [[nodiscard]] static std::string keyOfPicture(std::string_view bytes);
  [[nodiscard]] static std::string keyOf(const AnnotationDraft& draft);

  [[nodiscard]] const Path& folder() const { return services_.folder; }

  using Done = std::function<void(const Result<void>&)>;

  /// Puts the draft in the place of the one before it. Of several for one key that wait for the
  /// disk the newest is written; the others answer with it.
  void keep(const std::string& key, AnnotationDraft draft, Done done = {});

  /// The same for a picture that is nowhere else, whose bytes are kept with the first draft of it.
  void keep(const std::string& key, AnnotationDraft draft,
            const std::shared_ptr<const std::string>& picture, Done done);

  /// Removes the draft and its picture. One that cannot be removed is marked as over and not found
  /// any more, as far as it can be marked.
  void drop(const std::string& key, Done done = {});

  struct Found {
    std::optional<AnnotationDraft> draft;
    Path newer;  ///< a draft of a newer build; empty when there is none
  };
  void find(const std::string& key, std::function<void(Found)> found);

  /// All there are, newest first, for whoever opens them again.
  void list(std::function<void(std::vector<AnnotationDraft>)> listed);

  /// The bytes of a draft's picture.
  void readPicture(const AnnotationDraft& draft, std::function<void(Result<std::string>)> done);

  /// Calls `done` when nothing is on its way to the disk.
  void settle(std::function<void()> done);

 private:
  struct Order {
    std::optional<AnnotationDraft> draft;  ///< none: it goes
    std::shared_ptr<const std::string> picture;
    std::vector<Done> done;
  };
  struct Slot {
    bool isBusy = false;
    std::optional<Order> next;
  };

  void order(const std::string& key, Order order);
  void carryOut(const std::string& key);

  Services services_;
  std::map<std::string, Slot> slots_;
  std::vector<std::function<void()>> settling_;
  Lifetime lifetime_;
};

}  // namespace vantorel
