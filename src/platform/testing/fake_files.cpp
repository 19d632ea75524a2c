#include "platform/testing/fake_files.hpp"

#include <algorithm>
#include <utility>

namespace vantorel {
namespace {

std::unexpected<Failure> missing() { return failed(FailureKind::notFound, "no such file"); }

class FakeLock final : public FileLock {
 public:
  FakeLock(std::set<Path>& locked, Path path) : locked_(locked), path_(std::move(path)) {}
  ~FakeLock() override { locked_.erase(path_); }

 private:
  std::set<Path>& locked_;
  Path path_;
};

class FakeContent final : public FileContent {
 public:
  FakeContent(const FakeFiles& files, std::shared_ptr<FakeFiles::File> file)
      : files_(files), generation_(files.generation), file_(std::move(file)) {}

  [[nodiscard]] Result<FileStatus> status() const override {
    VT_TRY(served());
    return file_->status;
  }
  [[nodiscard]] Result<std::string> read(std::uint64_t offset,
                                         std::uint64_t length) const override {
    VT_TRY(served());
    if (offset + length > file_->bytes.size()) return failed(FailureKind::other, "it is shorter");
    return file_->bytes.substr(offset, length);
  }

 private:
  [[nodiscard]] Result<void> served() const {
    if (generation_ == files_.generation) return {};
    return failed(FailureKind::unreachable, "it does not answer");
  }

  const FakeFiles& files_;
  int generation_;
  std::shared_ptr<FakeFiles::File> file_;
};

class FakeFolder final : public FolderHandle {
 public:
  explicit FakeFolder(Path path) : path_(std::move(path)) {}
  [[nodiscard]] Path path() const override { return path_; }

 private:
  Path path_;
};

}  // namespace

void FakeFiles::put(const Path& path, std::string bytes) {
  for (Path folder = path.parent_path(); folders.insert(folder).second;) {
    folder = folder.parent_path();
  }
  auto& slot = disk[path];
  slot = std::make_shared<File>();
  slot->status = {FileType::regular, bytes.size(), now, device(path), nextInode_++, 0600, 0};
  slot->bytes = std::move(bytes);
}

void FakeFiles::renumber(const Path& mount) {
  const auto isInside = [&](const Path& path) {
    return std::ranges::mismatch(mount, path).in1 == mount.end();
  };
  std::map<std::uint64_t, File*> inside;
  for (auto& [path, file] : disk) {
    if (!isInside(path)) continue;
    file = std::make_shared<File>(*file);
    if (!inside.emplace(file->status.inode, file.get()).second) {
      inside.emplace(nextInode_++, file.get());
    }
  }
  std::uint64_t number = nextInode_++;
  for (const auto& [was, file] : inside) file->status.inode = std::exchange(number, was);
  for (const Path& folder : folders) {
    if (isInside(folder)) folderNumbers[folder] = nextInode_++;
  }
}

std::string FakeFiles::text(const Path& path) const {
  const auto found = disk.find(path);
  return found == disk.end() ? "(missing)" : found->second->bytes;
}

std::vector<std::string> FakeFiles::names(const Path& folder) const {
  std::vector<std::string> found;
  for (const auto& [path, file] : disk) {
    if (path.parent_path() == folder) found.push_back(path.filename());
  }
  return found;
}

Result<void> FakeFiles::change() {
  ++changes;
  if (beforeChange) beforeChange(changes);
  if (changesFail) return failed(*changesFail, "the disk refuses changes");
  if (spaceEndsAtChange > 0) {
    --spaceEndsAtChange;
    if (spaceEndsAtChange == 0) changesFail = FailureKind::noSpace;
  }
  if (changesFail) return failed(*changesFail, "no space left on device");
  return {};
}

Result<void> FakeFiles::answers(const Path& path) const {
  const auto isAbove = [&](const Path& folder) {
    return std::ranges::mismatch(folder, path).in1 == folder.end();
  };
  if (std::ranges::none_of(silent, isAbove)) return {};
  return failed(FailureKind::unreachable, "it does not answer");
}

Result<void> FakeFiles::makeMove(const Path& from, const Path& to,
                                 const std::function<Result<void>()>& make) {
  VT_TRY(answers(from));
  VT_TRY(answers(to));
  const bool isCounted = from.parent_path() == silencing || to.parent_path() == silencing;
  if (!isCounted || silenceAtMove == 0) return make();
  --silenceAtMove;
  if (silenceAtMove > 0) return make();
  silent.insert(silencing);
  if (isUnansweredMade) (void)make();
  if (isUnansweredHalfMade) disk[to] = disk.at(from);
  return failed(FailureKind::unreachable, "it does not answer");
}

Result<void> FakeFiles::parentExists(const Path& path) const {
  if (!folders.contains(path.parent_path())) return missing();
  if (path.filename().native().size() > longestFileName) {
    return failed(FailureKind::other, "the name is too long");
  }
  return {};
}

std::uint64_t FakeFiles::device(const Path& path) const {
  std::uint64_t found = 1;
  std::uint64_t number = 1;
  for (const Path& mount : mounts) {
    ++number;
    if (std::ranges::mismatch(mount, path).in1 == mount.end()) found = number;
  }
  return found;
}

std::uint64_t FakeFiles::folderNumber(const Path& folder) const {
  const auto found = folderNumbers.find(folder);
  return found == folderNumbers.end() ? hash_value(folder) % 1'000'000'007 : found->second;
}

Result<std::shared_ptr<FakeFiles::File>> FakeFiles::file(const Path& path) const {
  const auto found = disk.find(path);
  if (found == disk.end()) return missing();
  return found->second;
}

Result<std::string> FakeFiles::read(const Path& path, std::uint64_t limit) const {
  VT_TRY(answers(path));
  const auto link = links.find(path);
  const auto found = VT_TRY(file(link == links.end() ? path : link->second));
  if (found->bytes.size() > limit) return failed(FailureKind::tooLarge, "the file is too large");
  return found->bytes;
}

Result<FileStatus> FakeFiles::status(const Path& path) const {
  if (path.filename() == ".") return status(path.parent_path());
  VT_TRY(answers(path));
  if (folders.contains(path)) {
    return FileStatus{FileType::folder, 0, 0, device(path), folderNumber(path), 0700, 0};
  }
  if (const auto gone = shownAlthoughGone.find(path); gone != shownAlthoughGone.end()) {
    return gone->second->status;
  }
  if (links.contains(path)) return FileStatus{FileType::link, 0, 0, device(path), 0, 0777, 0};
  return VT_TRY(file(path))->status;
}

Result<std::vector<FolderItem>> FakeFiles::list(const Path& folder) const {
  VT_TRY(answers(folder));
  if (!folders.contains(folder)) return missing();
  std::vector<FolderItem> items;
  for (const std::string& name : names(folder)) items.push_back({name, FileType::regular});
  for (const Path& inner : folders) {
    if (inner != folder && inner.parent_path() == folder) {
      items.push_back({inner.filename(), FileType::folder});
    }
  }
  return items;
}

Result<Path> FakeFiles::resolved(const Path& path) const {
  VT_TRY(answers(path));
  const auto link = links.find(path);
  Path found = link == links.end() ? path : link->second;
  if (!disk.contains(found) && !folders.contains(found)) return missing();
  return found;
}

Result<FolderLocation> FakeFiles::location(const Path& folder) const {
  VT_TRY(answers(folder));
  if (!folders.contains(folder)) return missing();
  if (withoutLocation.contains(folder)) return failed(FailureKind::unsupported, "it does not say");
  Path mount = "/";
  for (const Path& one : mounts) {
    if (std::ranges::mismatch(one, folder).in1 == one.end()) mount = one;
  }
  const auto found = mounted.find(mount);
  const FolderLocation base =
      found == mounted.end() ? FolderLocation{"disk of " + mount.string(), "/"} : found->second;
  const Path inside = folder.lexically_relative(mount);
  return FolderLocation{base.volume,
                        inside == "." ? base.folder : (Path(base.folder) / inside).string()};
}

Result<std::unique_ptr<FolderHandle>> FakeFiles::hold(const Path& folder) const {
  VT_TRY(answers(folder));
  if (!folders.contains(folder)) return missing();
  return std::make_unique<FakeFolder>(folder);
}

Result<void> FakeFiles::makeFolder(const Path& folder, Privacy) {
  if (folders.contains(folder)) return {};
  VT_TRY(change());
  for (Path path = folder; folders.insert(path).second;) path = path.parent_path();
  return {};
}

Result<void> FakeFiles::create(const Path& path, std::string_view bytes, Privacy privacy,
                               Durability) {
  VT_TRY(answers(path));
  VT_TRY(change());
  VT_TRY(parentExists(path));
  if (disk.contains(path)) return failed(FailureKind::exists, "the file exists");
  put(path, std::string(bytes));
  disk[path]->status.mode = privacy == Privacy::ownerOnly ? 0600 : 0644;
  return {};
}

Result<void> FakeFiles::replace(const Path& path, std::string_view bytes, Privacy privacy) {
  return replaceAsked(path, bytes, privacy, [] { return Result<void>(); });
}

Result<void> FakeFiles::replaceAsked(const Path& path, std::string_view bytes, Privacy privacy,
                                     const std::function<Result<void>()>& mayReplace) {
  const Path staging = stagingOf(path);
  disk.erase(staging);
  VT_TRY(create(staging, bytes, privacy, Durability::flushed));
  auto may = mayReplace();
  if (may) may = change();
  if (!may) {
    disk.erase(staging);
    return may;
  }
  const auto staged = VT_TRY(file(staging));
  disk[path] = staged;
  disk.erase(staging);
  return {};
}

Result<std::shared_ptr<FileContent>> FakeFiles::open(const Path& path) const {
  VT_TRY(answers(path));
  return std::make_shared<FakeContent>(*this, VT_TRY(file(path)));
}

Result<std::shared_ptr<FileContent>> FakeFiles::replaceWithParts(
    const Path& path, std::span<const ContentPart> parts, Privacy privacy,
    const std::function<Result<void>()>& mayReplace) {
  std::string bytes;
  for (const ContentPart& part : parts) {
    if (part.source == nullptr) {
      bytes += part.bytes;
    } else {
      bytes += VT_TRY(part.source->read(part.offset, part.length));
      copiedBytes += part.length;
    }
  }
  VT_TRY(replaceAsked(path, bytes, privacy, mayReplace));
  return open(path);
}

Result<Tightening> FakeFiles::makeOwnerOnly(const Path& path) {
  const auto found = disk.find(path);
  if (found == disk.end()) return Tightening::absent;
  FileStatus& status = found->second->status;
  if (status.type == FileType::link) return Tightening::link;
  if ((status.mode & 077U) == 0) return Tightening::alreadyOwnerOnly;
  VT_TRY(change());
  status.mode &= ~077U;
  return Tightening::madeOwnerOnly;
}

Result<void> FakeFiles::moveNew(const Path& from, const Path& to) {
  return makeMove(from, to, [&] { return moveAnswered(from, to); });
}

Result<void> FakeFiles::moveAnswered(const Path& from, const Path& to) {
  VT_TRY(change());
  const bool isFolder = folders.contains(from);
  const auto moved = isFolder ? nullptr : VT_TRY(file(from));
  VT_TRY(parentExists(to));
  if (status(to)) return failed(FailureKind::exists, "the file exists");
  if (device(from) != device(to)) return failed(FailureKind::unsupported, "another file system");
  if (isFolder) {
    renameFolder(from, to);
    return {};
  }
  disk.erase(from);
  disk[to] = moved;
  return {};
}

void FakeFiles::renameFolder(const Path& from, const Path& to) {
  const auto isInside = [&](const Path& path) {
    return std::ranges::mismatch(from, path).in1 == from.end();
  };
  const auto renamed = [&](const Path& path) {
    return path == from ? to : to / path.lexically_relative(from);
  };
  for (const std::set<Path> before = folders; const Path& folder : before) {
    if (!isInside(folder)) continue;
    folderNumbers[renamed(folder)] = folderNumber(folder);
    folders.erase(folder);
    folders.insert(renamed(folder));
  }
  for (const auto before = disk; const auto& [path, inner] : before) {
    if (!isInside(path)) continue;
    disk.erase(path);
    disk[renamed(path)] = inner;
  }
}

Result<void> FakeFiles::linkNew(const Path& from, const Path& to) {
  VT_TRY(answers(from));
  VT_TRY(change());
  const auto linked = VT_TRY(file(from));
  VT_TRY(answers(to));
  VT_TRY(parentExists(to));
  if (disk.contains(to)) return failed(FailureKind::exists, "the file exists");
  if (!hasHardLinks || device(from) != device(to)) {
    return failed(FailureKind::unsupported, "no hard links");
  }
  disk[to] = linked;
  return {};
}

// A copy that is stopped in the middle leaves half a file, as it does on a disk.
Result<void> FakeFiles::copyNew(const Path& from, const Path& to) {
  VT_TRY(answers(from));
  const auto source = VT_TRY(file(from));
  VT_TRY(create(to, source->bytes.substr(0, source->bytes.size() / 2), Privacy::ownerOnly,
                Durability::visible));
  if (auto filled = change(); !filled) {
    disk.erase(to);
    return filled;
  }
  // Its disk may have gone since.
  const auto copy = VT_TRY(file(to));
  const FileStatus made = copy->status;
  *copy = *source;
  copy->status.device = made.device;
  copy->status.inode = made.inode;
  return {};
}

Result<void> FakeFiles::remove(const Path& path) {
  return makeMove(path, path, [&] { return removeAnswered(path); });
}

Result<void> FakeFiles::removeAnswered(const Path& path) {
  VT_TRY(change());
  if (readOnly.contains(path.parent_path()) && status(path)) {
    return failed(FailureKind::denied, "read-only file system");
  }
  if (disk.erase(path) > 0) return {};
  if (!folders.contains(path)) return missing();
  if (!VT_TRY(list(path)).empty()) return failed(FailureKind::other, "the folder is not empty");
  folders.erase(path);
  return {};
}

Result<void> FakeFiles::checkWritable(const Path& folder) const {
  if (!folders.contains(folder)) return missing();
  if (changesFail) return failed(*changesFail, "the disk refuses changes");
  return {};
}

Result<void> FakeFiles::flushFolder(const Path& folder) {
  if (!folders.contains(folder)) return missing();
  if (flushesFail) return failed(FailureKind::other, "input/output error");
  flushed.push_back(folder);
  return {};
}

Result<void> FakeFiles::flushFiles(std::span<const Path> /*files*/) { return {}; }

Result<std::string> FakeFiles::attribute(const Path& path, std::string_view name) const {
  const auto found = VT_TRY(file(path));
  if (!keepsAttributes) return failed(FailureKind::unsupported, "no attributes here");
  const auto value = found->attributes.find(name);
  if (value == found->attributes.end()) return missing();
  return value->second;
}

Result<void> FakeFiles::setAttribute(const Path& path, std::string_view name,
                                     std::string_view value) {
  VT_TRY(change());
  const auto found = VT_TRY(file(path));
  if (!keepsAttributes) return failed(FailureKind::unsupported, "no attributes here");
  found->attributes.insert_or_assign(std::string(name), std::string(value));
  return {};
}

Result<void> FakeFiles::removeAttribute(const Path& path, std::string_view name) {
  VT_TRY(change());
  const auto found = VT_TRY(file(path));
  if (!keepsAttributes) return failed(FailureKind::unsupported, "no attributes here");
  if (found->attributes.erase(std::string(name)) == 0) return missing();
  return {};
}

Result<std::unique_ptr<FileLock>> FakeFiles::lock(const Path& path) {
  if (!locked_.insert(path).second) return failed(FailureKind::busy, "process 1 (another)");
  return std::make_unique<FakeLock>(locked_, path);
}

}  // namespace vantorel
