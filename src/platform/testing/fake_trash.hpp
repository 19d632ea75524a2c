#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

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
    origins_[place] = path;
    VT_TRY(files_.moveNew(path, place));
    if (isUntracked) return std::optional<Path>();
    return std::optional(place);
  }

  Result<void> restore(const Path& trashed, const Path& to, Attempt attempt) override {
    VT_TRY(refusal(to));
    const auto there = files_.status(trashed);
    const bool isGone = !there && there.error().kind == FailureKind::notFound;
    if (isGone && attempt == Attempt::repeated && files_.disk.contains(to)) return {};
    VT_TRY(files_.makeFolder(to.parent_path(), Privacy::byUmask));
    if (isOneFile(trashed, to)) return files_.remove(trashed);
    return files_.moveNew(trashed, to);
  }

  Result<std::optional<Found>> find(const Path& path, const FileMark& file) override {
    if (const auto there = files_.status(path.parent_path());
        !there && there.error().kind == FailureKind::unreachable) {
      return std::unexpected(there.error());
    }
    std::vector<Path> numbered;
    std::vector<Path> alike;
    for (const auto& [place, origin] : origins_) {
      const auto there = files_.status(place);
      if (there && origin == path && file.isOf(*there)) numbered.push_back(place);
      if (there && origin == path && file.isLike(*there)) alike.push_back(place);
    }
    if (numbered.empty() && alike.size() == 1) numbered = alike;
    if (numbered.empty()) return std::nullopt;
    const bool hadBothNames = isOneFile(numbered.front(), path);
    if (hadBothNames) VT_TRY(files_.remove(path));
    return Found{numbered.front(), hadBothNames};
  }

  void flush() override {}

 private:
  [[nodiscard]] bool isOneFile(const Path& one, const Path& other) const {
    const auto first = files_.disk.find(one);
    const auto second = files_.disk.find(other);
    if (first == files_.disk.end() || second == files_.disk.end()) return false;
    return first->second == second->second ||
           (FileMark::of(first->second->status).isLike(second->second->status) &&
            first->second->bytes == second->second->bytes);
  }

  [[nodiscard]] Result<void> refusal(const Path& path) const {
    const auto found = failing.find(path);
    if (found == failing.end()) return {};
    return failed(found->second, "the Trash does not take it");
  }

  FakeFiles& files_;
  std::map<Path, Path> origins_;  // of each name in it
  int count_ = 0;
};

}  // namespace vantorel
