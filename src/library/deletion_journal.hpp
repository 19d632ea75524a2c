#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/json_record.hpp"
#include "library/library_paths.hpp"
#include "platform/file_mark.hpp"
#include "platform/files.hpp"

namespace vantorel {

/// What a deletion has in hand, written before the first file moves: a run that finds it carries
/// the deletion on where it was cut short.
struct DeletionJournal {
  struct Item {
    std::string id;

    /// What tells the entry's own files from strangers of the same name. Nothing for a file that
    /// is to stay.
    std::optional<FileMark> file{};
    std::optional<FileMark> original{};

    /// Of one whose files did not answer: see `mayStillLand`.
    std::optional<double> mayLandUntil{};

    /// They were on their way back when they did not: which of two names is about to go is not
    /// known, and neither is touched until then.
    bool isGivenBack = false;

    json::Extra extra{};

    template <class V, class S>
    static void describe(V& v, S& item);
  };
  std::vector<Item> items;
  bool offersUndo = false;

  /// Files that only the library knew, to go as well once no entry names them.
  std::vector<std::string> surplus;

  [[nodiscard]] bool isEmpty() const { return items.empty() && surplus.empty(); }

  /// What is named already is named anew.
  void append(const DeletionJournal& other);
};

VT_JSON_RECORD_DECLARATION(DeletionJournal::Item);

// Block; readable by the owner alone.

/// An empty journal is removed. One on disk that cannot be read is set aside.
[[nodiscard]] Result<void> writeDeletionJournal(Files& files, const LibraryPaths& paths,
                                                const DeletionJournal& journal);

/// Empty when there is none, or none that can be read.
[[nodiscard]] DeletionJournal readDeletionJournal(const Files& files, const LibraryPaths& paths);

}  // namespace vantorel
