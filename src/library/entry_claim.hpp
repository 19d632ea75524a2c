#pragma once

#include <expected>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vantorel {

/// What somebody does with an entry for a while.
enum class EntryWork {
  rewriting,  ///< changes its file or its annotations
  deleting,   ///< moves its files to the Trash
  restoring,  ///< moves them back
  moving,     ///< moves them to another folder
  editing,    ///< has it open in Annotate; its file stays as it is
  exporting,  ///< makes something else of it
  reading,
};

/// Why an entry cannot be had: what somebody else does with it.
struct EntryBusy {
  EntryWork work = EntryWork::rewriting;
};

/// "This capture is being changed already."
[[nodiscard]] std::string sentence(const EntryBusy& busy);

/// Holds an entry for as long as it lives. May outlive what it is from. Lives on the main runner.
class [[nodiscard]] EntryClaim {
 public:
  EntryClaim() = default;

  /// Gives the entry back early.
  void end() { held_.reset(); }

 private:
  friend class EntryClaims;
  struct Release {
    std::shared_ptr<void> state;
    void operator()(std::pair<std::string, EntryWork>* held) const;
  };
  std::unique_ptr<std::pair<std::string, EntryWork>, Release> held_;
};

/// The one lock on each entry. Who reads or exports it shares it with others who do, and with an
/// editor; everybody else has it alone. Ids need not be in the library: an undo holds entries that
/// are on their way back. Lives on the main runner.
class EntryClaims {
 public:
  EntryClaims();

  [[nodiscard]] std::expected<EntryClaim, EntryBusy> claim(const std::string& id, EntryWork work);

  /// Whether this program itself may be changing or moving the entry's files now: what the disk
  /// shows of them means nothing then.
  [[nodiscard]] bool isFileChanging(const std::string& id) const;

  /// Whether somebody has it open in Annotate.
  [[nodiscard]] bool isEdited(const std::string& id) const;

  /// The ids of all entries whose files are changing, in order.
  [[nodiscard]] std::vector<std::string> fileChanges() const;

 private:
  friend class EntryClaim;
  struct Held {
    std::optional<EntryWork> alone;
    int readers = 0;
    EntryWork lastReader = EntryWork::reading;
  };
  using State = std::map<std::string, Held>;
  std::shared_ptr<State> state_;
};

}  // namespace vantorel
