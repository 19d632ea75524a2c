#pragma once

#include <map>
#include <string>

#include "platform/testing/fake_files.hpp"
#include "platform/trash.hpp"

namespace vantorel {

/// A Trash folder "/Trash" inside a fake file system.
class FakeTrash final : public Trash {
 public:
  explicit FakeTrash(FakeFiles& files) : files_(files) { files_.folders.insert("/Trash"); }

  /// Paths that cannot be moved to the Trash, and why.
  std::map<Path, FailureKind> failing;

  /// Does not tell where things went.
  bool isUntracked = false;

  Result<std::optional<Path>> moveToTrash(const Path& path) override {
    if (const auto found = failing.find(path); found != failing.end()) {
      return failed(found->second, "the Trash does not take it");
    }
    const Path place = Path("/Trash") / (std::to_string(++count_) + "-" + path.filename().string());
    VT_TRY(files_.moveNew(path, place));
    if (isUntracked) return std::optional<Path>();
    return std::optional(place);
  }

  Result<void> restore(const Path& trashed, const Path& to) override {
    VT_TRY(files_.makeFolder(to.parent_path(), Privacy::byUmask));
    return files_.moveNew(trashed, to);
  }

 private:
  FakeFiles& files_;
  int count_ = 0;
};

}  // namespace vantorel
