#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "platform/clock.hpp"
#include "platform/trash.hpp"

namespace vantorel {

/// The desktop's Trash as freedesktop.org lays it down, version 1.0: the user's own for files on
/// the disk of the home folder, one at the top of its disk for every other file.
class LinuxTrash final : public Trash {
 public:
  /// `dataHome` is $XDG_DATA_HOME; `userID` the user this process runs as.
  using IsServed = std::function<bool(const Path&)>;  ///< by another machine or program

  LinuxTrash(Files& files, const Clock& clock, Path dataHome, std::uint32_t userID,
             IsServed isServed = isServedElsewhere);

  [[nodiscard]] static bool isServedElsewhere(const Path& path);

  Result<std::optional<Path>> moveToTrash(const Path& path) override;
  Result<void> restore(const Path& trashed, const Path& to, Attempt attempt) override;
  Result<std::optional<Found>> find(const Path& path, const FileMark& file) override;
  void flush() override;

 private:
  struct Can {
    Path folder;
    Path namedFrom;  ///< paths in it are written from here; empty for absolute ones
  };
  [[nodiscard]] Result<void> makeOwn(const Path& folder);
  void touched(const Path& from, const Path& to);
  [[nodiscard]] Result<void> checkThere(const Path& trashed, Attempt attempt) const;
  /// Whether a file has both names, in two folders; where each name has a number of its own (FUSE),
  /// whether there is nothing by which to tell them apart. Fails when their disk does not answer.
  [[nodiscard]] Result<bool> isOneFile(const Path& one, const Path& other) const;
  [[nodiscard]] Result<std::optional<Found>> endMove(const Path& path, const Path& place);

  /// Removes the information of a file that has left, unless the name is to be kept free.
  void clearInfo(const Path& place, bool mayBeRemovedLate);

  /// Keeps a name free whose removal may still be made: others spare it for its information.
  void keepFree(const Path& place);
  [[nodiscard]] bool isKeptFree(std::string_view info) const;

  /// Clears what keeps a name free for longer than need be; answers whether it was that.
  [[nodiscard]] bool release(const Path& place);
  [[nodiscard]] static std::string namedIn(const Can& can, const Path& folder, const Path& path);
  [[nodiscard]] Result<Can> canFor(const Path& folder, std::uint64_t device);

  Files& files_;
  const Clock& clock_;
  Path dataHome_;
  std::uint32_t userID_;
  IsServed isServed_;

  std::mutex mutex_;
  std::set<Path> unflushed_;         // folders in which something moved
  std::vector<Path> unflushedInfo_;  // files
};

}  // namespace vantorel
