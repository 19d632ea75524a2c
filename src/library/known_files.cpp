#include "library/known_files.hpp"

#include <algorithm>
#include <unordered_set>

#include "library/entry_paths.hpp"

namespace vantorel {
namespace {

std::string_view nameOf(std::string_view path) { return path.substr(path.rfind('/') + 1); }

}  // namespace

void KnownFiles::add(const Path& path) {
  Folder& inside = folder(folderOf(path.native()));
  std::vector<Folder*>& folders = foldersOf_[std::string(nameOf(path.native()))];
  if (std::ranges::find(folders, &inside) != folders.end()) return;
  folders.push_back(&inside);
  unnumbered_.push_back(path);
}

bool KnownFiles::hasName(const Path& path) {
  const auto found = foldersOf_.find(std::string(nameOf(path.native())));
  if (found == foldersOf_.end()) return false;
  Folder& asked = folder(folderOf(path.native()));
  return std::ranges::any_of(found->second, [&](Folder* known) {
    return known == &asked || (identityOf(asked) && identityOf(*known) == identityOf(asked));
  });
}

bool KnownFiles::hasFile(const Path& path) {
  if (hasName(path)) return true;
  for (const Path& known : std::exchange(unnumbered_, {})) {
    if (const auto number = numberOf(known)) numbers_.insert(*number);
  }
  const auto number = numberOf(path);
  return number && numbers_.contains(*number);
}

KnownFiles::Folder& KnownFiles::folder(std::string_view name) {
  const auto found = folders_.find(name);
  if (found != folders_.end()) return found->second;
  return folders_.emplace(name, Folder{std::string(name)}).first->second;
}

const std::optional<FolderIdentity>& KnownFiles::identityOf(Folder& folder) {
  if (!std::exchange(folder.wasAsked, true)) {
    folder.identity = vantorel::identityOf(files_, folder.name);
  }
  return folder.identity;
}

std::optional<KnownFiles::FileNumber> KnownFiles::numberOf(const Path& path) const {
  auto status = files_.status(path);
  if (status && status->type == FileType::link) {
    const auto place = files_.resolved(path);
    if (!place) return std::nullopt;
    status = files_.status(*place);
  }
  if (!status) return std::nullopt;
  return FileNumber{status->device, status->inode};
}

KnownFiles filesCalledLike(const Files& files, const EntryList& entries,
                           const std::vector<std::string>& asked) {
  std::unordered_set<std::string_view> names;
  for (const std::string& path : asked) names.insert(nameOf(path));
  KnownFiles known(files);
  for (const EntryPointer& entry : entries) {
    forEachPath(*entry, [&](const std::string& path) {
      if (names.contains(nameOf(path))) known.add(path);
    });
  }
  return known;
}

}  // namespace vantorel
