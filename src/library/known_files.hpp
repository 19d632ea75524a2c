#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "library/file_reach.hpp"
#include "library/records/screenshot_entry.hpp"
#include "platform/files.hpp"

namespace vantorel {

/// Files that are needed, known by every name that leads to them: by links and mounts a folder has
/// several, and by hard links a file. Blocks; lives on one runner.
class KnownFiles {
 public:
  explicit KnownFiles(const Files& files) : files_(files) {}

  void add(const Path& path);

  /// Whether one of them has this name, in this or another spelling of its folder.
  [[nodiscard]] bool hasName(const Path& path);

  /// Whether the file at this path is one of them, also under a name of its own.
  [[nodiscard]] bool hasFile(const Path& path);

 private:
  using FileNumber = std::pair<std::uint64_t, std::uint64_t>;  // device and inode
  struct Folder {
    std::string name;
    bool wasAsked = false;
    std::optional<FolderIdentity> identity{};
  };

  [[nodiscard]] Folder& folder(std::string_view name);
  [[nodiscard]] const std::optional<FolderIdentity>& identityOf(Folder& folder);
  [[nodiscard]] std::optional<FileNumber> numberOf(const Path& path) const;

  const Files& files_;
  std::map<std::string, Folder, std::less<>> folders_;
  std::unordered_map<std::string, std::vector<Folder*>> foldersOf_;  // by the file's name
  std::vector<Path> unnumbered_;
  std::set<FileNumber> numbers_;
};

/// Of the files that these entries need, those that may have one of the names `asked`.
[[nodiscard]] KnownFiles filesCalledLike(const Files& files, const EntryList& entries,
                                         const std::vector<std::string>& asked);

}  // namespace vantorel
