#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "library/deletion_journal.hpp"
#include "library/entry_files.hpp"
#include "library/file_reach.hpp"
#include "library/library_paths.hpp"
#include "library/records/screenshot_entry.hpp"
#include "platform/file_mark.hpp"
#include "platform/files.hpp"
#include "platform/trash.hpp"

namespace vantorel {

/// An entry that was taken out of the library, and where its files went.
struct RemovedEntry {
  EntryPointer entry;
  std::size_t index = 0;                   ///< its place in the list
  std::optional<Path> trashedPNGURL;       ///< its file in the Trash
  std::optional<Path> trashedOriginalURL;  ///< its original in the Trash
  bool isUntracked = false;                ///< the Trash did not tell where something went

  /// Why its original did not go along; `original` when it did, or another entry has it.
  OriginalPlace original = OriginalPlace::original;

  /// Of one whose files did not answer: until then the removal of the names that they had may still
  /// be made, and would take what is put there. See `mayStillLand`.
  std::optional<double> mayLandUntil{};

  std::optional<FileMark> originalMark{};  ///< what its original in the Trash is known by

  /// Of one whose original did not answer on its way back to the Trash: until then it is not
  /// looked for.
  std::optional<double> originalMayLandUntil{};

  json::Extra extra{};  ///< of the file that keeps the undo
};

/// Tells the user, after the capture's name, that its original did not go to the Trash with it;
/// empty when it did.
[[nodiscard]] std::string originalRemark(const RemovedEntry& removed);

/// An entry that is to go.
struct TrashCandidate {
  EntryPointer entry;
  bool keepsFile = false;      ///< another entry shows the same file
  bool keepsOriginal = false;  ///< another entry has the same original
};

/// The entries `going` out of `all`. Copies of a capture, and captures made from others, may share
/// files, whatever spelling of their folders they name them by: those go with the last entry that
/// shows them. Blocks; any thread.
[[nodiscard]] std::vector<TrashCandidate> trashCandidates(const Files& files, const EntryList& all,
                                                          const EntryList& going);

/// Notes the places that entries have in the list.
void notePlaces(std::vector<RemovedEntry>& removed, const EntryList& all);

/// Moves the files of entries to the Trash and back. Blocks; any thread.
class HistoryTrash {
 public:
  HistoryTrash(Files& files, Trash& trash) : files_(files), trash_(trash) {}

  struct Failed {
    std::string reason;         ///< stands behind the capture's name and a colon
    bool isUnanswered = false;  ///< it may have gone: the journal has to go on naming it
    bool isGivenBack = false;   ///< and may be back already: see the journal
  };
  using Outcome = std::variant<RemovedEntry, Failed>;

  /// Moves the entry's file and its original. Either both go or, as far as the Trash gives them
  /// back, none. A file that is gone already does not keep its entry in the library. `item` is what
  /// the journal says of it.
  [[nodiscard]] Outcome trash(const TrashCandidate& candidate, const DeletionJournal::Item& item);

  /// Nothing removed, and answered: its file did not go.
  struct Resumed {
    std::optional<RemovedEntry> removed{};
    bool isUnanswered = false;
    bool hadBothNames = false;  ///< what is in the Trash was still at its old name, too
    bool isGivenBack = false;   ///< unanswered on the way back: see the journal
  };

  /// Carries on a deletion that was cut short, of an entry that is still in the library. With
  /// `mayLand`, or where it had both names, the removal of its names may still be made: then
  /// nothing is put back, and the entry keeps what is in the Trash until a later call.
  [[nodiscard]] Resumed resume(const TrashCandidate& candidate, const DeletionJournal::Item& item,
                               bool mayLand);

  /// What tells the files of the entry from strangers, for the journal.
  [[nodiscard]] DeletionJournal::Item describe(const TrashCandidate& candidate) const;

  struct Restored {
    EntryPointer entry;
    bool hasBackingImage = false;  ///< the entry's file is where the entry says
    bool isInTrash = false;        ///< a file that was not put back is still there
    RemovedEntry again;            ///< for another attempt then
    std::optional<std::string> failure;
    bool isUnanswered = false;  ///< it may be back: the undo has to stay begun
  };

  /// Puts the entry's files where it says: both or, as far as their disks let it, none.
  [[nodiscard]] Restored restore(const RemovedEntry& removed, Trash::Attempt attempt, double now);

  /// Moves files that only the library knew to the Trash, unless an entry names them.
  void discard(const std::vector<std::string>& surplus, const EntryList& entries);

  /// Makes what moved safe against a power cut.
  void flush() { trash_.flush(); }

 private:
  struct NothingThere {};
  struct MovedUntracked {};
  using FileOutcome = std::variant<Path, MovedUntracked, NothingThere, Failed>;
  [[nodiscard]] FileOutcome moveToTrash(const Path& path, FileReach reach);

  /// Leaves alone what only has the original's name, and says so.
  [[nodiscard]] FileOutcome moveOriginal(RemovedEntry& removed);

  /// False when it is there or missing.
  [[nodiscard]] bool isSilent(const Path& path) const;

  /// Whether the original may still go back to the Trash. Notes until when.
  [[nodiscard]] bool mayGoBack(RemovedEntry& removed, double now) const;

  Files& files_;
  Trash& trash_;
};

}  // namespace vantorel
