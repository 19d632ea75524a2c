#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <tuple>

#include "library/entry_files.hpp"

namespace vantorel {

/// What a file keeps even where its number changes: its volume, size and time.
using FileTrait = std::tuple<std::string_view, std::int64_t, double>;

/// Good for as long as the identity lives.
[[nodiscard]] FileTrait traitOf(const FileIdentity& identity);

/// False of a file that was never seen: nothing is remembered of it but its folder.
[[nodiscard]] bool hasTrait(const FileIdentity& identity);

/// What the numbers of files are worth on each volume. Some (FUSE, FAT, shares) give their files
/// new ones with each mount, or whenever they like, and the same ones to others.
class FileNumbers {
 public:
  /// `entries` are all of the library, and have to live as long.
  explicit FileNumbers(const EntryList& entries) : entries_(entries) {}

  /// A file is where it was and as it was, under its number.
  void agree(const FileIdentity& now) { agreeing_.insert(now.volume); }

  /// A file with this identity is there: a remembered one under another number shows what its
  /// volume's numbers are.
  void see(const FileIdentity& now);

  /// Whether a remembered file has that size and time and another number.
  [[nodiscard]] bool isAnothers(const FileIdentity& now);

  /// The paths of remembered files with this trait.
  [[nodiscard]] const std::set<std::string_view>& pathsOf(const FileTrait& trait);

  /// False when numbers tell nothing on this volume: none is as it was, or some file has got
  /// another one.
  [[nodiscard]] bool areSteady(const std::string& volume) const;

  /// Whether some file of this volume has got another number.
  [[nodiscard]] bool haveChanged(const std::string& volume) const {
    return changing_.contains(volume);
  }

 private:
  struct Remembered {
    std::set<std::int64_t> files;
    std::set<std::string_view> paths;
  };
  void remember();

  const EntryList& entries_;
  std::set<std::string, std::less<>> agreeing_;
  std::set<std::string, std::less<>> changing_;
  std::map<FileTrait, Remembered> remembered_;
  bool isRemembered_ = false;
};

}  // namespace vantorel
