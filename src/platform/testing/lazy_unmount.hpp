#pragma once

#include <algorithm>
#include <map>
#include <memory>
#include <set>
#include <utility>

#include "platform/testing/fake_files.hpp"

namespace vantorel {

/// Takes a disk of the fake away whatever is using it, as a lazy unmount does. One thread.
class LazyUnmount {
 public:
  /// Whether the folder stays, empty, as a mount point does. One that lay on the disk does not.
  enum class Folder { stays, goes };

  LazyUnmount(FakeFiles& files, Path mount, Folder folder)
      : files_(files), mount_(std::move(mount)), folder_(folder) {}

  [[nodiscard]] bool isAway() const { return isAway_; }

  void unmount() {
    if (std::exchange(isAway_, true)) return;
    files_.mounts.erase(mount_);
    std::erase_if(files_.disk, [this](const auto& one) {
      return isInside(one.first) && disk_.insert(one).second;
    });
    std::erase_if(files_.folders, [this](const Path& folder) {
      const bool goes = folder == mount_ ? folder_ == Folder::goes : isInside(folder);
      return goes && folders_.insert(folder).second;
    });
  }

  void mountAgain() {
    if (!std::exchange(isAway_, false)) return;
    files_.mounts.insert(mount_);
    files_.disk.merge(disk_);
    files_.folders.merge(folders_);
  }

 private:
  [[nodiscard]] bool isInside(const Path& path) const {
    return std::ranges::mismatch(mount_, path).in1 == mount_.end();
  }

  FakeFiles& files_;
  Path mount_;
  Folder folder_;
  bool isAway_ = false;
  std::map<Path, std::shared_ptr<FakeFiles::File>> disk_;
  std::set<Path> folders_;
};

}  // namespace vantorel
