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

  /// Paths that cannot be moved to the Trash or out of it, and why.
  std::map<Path, FailureKind> failing;

  /// Does not tell where things went.
  bool isUntracked = false;

  Result<std::optional<Path>> moveToTrash(const Path& path) override {
    VT_TRY(refusal(path));
    const Path place = Path("/Trash") / (std::to_string(++count_) + "-" + path.filename().string());
    VT_TRY(files_.moveNew(path, place));
    if (isUntracked) return std::optional<Path>();
    return std::optional(place);
  }

  Result<void> restore(const Path& trashed, const Path& to) override {
    VT_TRY(refusal(to));
    VT_TRY(files_.makeFolder(to.parent_path(), Privacy::byUmask));
    return files_.moveNew(trashed, to);
  }

  Result<std::optional<Path>> find(const Path& path, std::uint64_t inode) override {
    if (const auto there = files_.status(path.parent_path());
        !there && there.error().kind == FailureKind::unreachable) {
      return std::unexpected(there.error());
    }
    for (const auto& [place, file] : files_.disk) {
      if (place.parent_path() == "/Trash" && file->status.inode == inode &&
          place.filename().string().ends_with("-" + path.filename().string())) {
        const Path found = place;
        const auto old = files_.disk.find(path);
        if (old != files_.disk.end() && old->second == file) VT_TRY(files_.remove(path));
        return found;
      }
    }
    return std::nullopt;
  }

  void forget(const Path&) override {}
  void flush() override {}

 private:
  [[nodiscard]] Result<void> refusal(const Path& path) const {
    const auto found = failing.find(path);
    if (found == failing.end()) return {};
    return failed(found->second, "the Trash does not take it");
  }

  FakeFiles& files_;
  int count_ = 0;
};

}  // namespace vantorel
