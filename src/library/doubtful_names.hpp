#pragma once

#include <string>
#include <vector>

#include "base/json_record.hpp"
#include "library/known_files.hpp"
#include "library/library_paths.hpp"
#include "platform/files.hpp"

namespace vantorel {

/// Why a file is left alone whose name is in doubt, or whose change is.
inline constexpr const char* inDoubtReason =
    "it isn't known yet what came of the change before, since its disk does not answer";

/// Names whose removal was not answered: as long as it may still be made, it would take whatever is
/// put there. Kept in the journal of who asked for the removal, so that the next run knows them.
class DoubtfulNames {
 public:
  struct Name {
    std::string path;
    double until = 0;  ///< see `mayStillLand`
    json::Object extra;

    bool operator==(const Name&) const = default;
    template <class V, class S>
    static void describe(V& v, S& name);
  };

  void add(const Path& path);

  /// To be called now and then: forgets those that no removal can come to any more, for their disk
  /// has been answering for long enough. Blocks.
  void settle(const Files& files, double now);

  /// Whether something that is put there now may go.
  [[nodiscard]] bool contains(const Path& path, double now) const;

  [[nodiscard]] bool isEmpty() const { return names.empty(); }
  bool operator==(const DoubtfulNames&) const = default;

  std::vector<Name> names;
};
VT_JSON_RECORD_DECLARATION(DoubtfulNames::Name);

/// Adds all that the library's journals on disk know. To be asked before a file gets a free name
/// where captures lie: such a name is as good as taken. Blocks; any thread.
void addDoubtfulNames(const Files& files, const LibraryPaths& paths, double now, KnownFiles& names);

}  // namespace vantorel
