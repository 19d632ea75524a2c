#include "platform/linux/linux_trash.hpp"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <map>
#include <utility>

#include "base/log.hpp"
#include "base/utf8.hpp"
#include "library/file_move.hpp"
#include "library/unanswered_change.hpp"
#include "platform/linux/mount_table.hpp"
#include "platform/linux/remote_mounts.hpp"

namespace vantorel {
namespace {

constexpr std::uint32_t stickyBit = 01000;
constexpr int maximumNames = 10'000;
constexpr int longestGap = 64;
constexpr std::uint64_t longestInfo = std::uint64_t{64} * 1024;

/// A line of the information: seconds since 1970-01-01 UTC.
constexpr std::string_view keptFreeUntil = "X-Vantorel-KeptFreeUntil=";

/// As in URLs, bytes other than letters, digits and a few marks become "%XX".
std::string percentEncoded(std::string_view path) {
  std::string text;
  for (const char c : path) {
    const bool isPlain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                         (c >= '0' && c <= '9') ||
                         std::string_view("-._~/").find(c) != std::string_view::npos;
    if (isPlain) {
      text += c;
    } else {
      text += fmt::format("%{:02X}", static_cast<unsigned char>(c));
    }
  }
  return text;
}

std::string localTime(double seconds) {
  const auto whole = static_cast<std::time_t>(seconds);
  std::tm parts{};
  ::localtime_r(&whole, &parts);
  return fmt::format("{:%Y-%m-%dT%H:%M:%S}", parts);
}

/// "a.png", "a.2.png", "a.3.png" and so on, with room for ".trashinfo".
std::string nameFor(const Path& path, int attempt) {
  constexpr std::size_t longest = 255 - 11 - 6;
  const std::string extension = path.extension().string().substr(0, 32);
  std::string stem = path.stem().string();
  stem = beginningOf(stem, longest - extension.size());
  return attempt == 1 ? stem + extension : fmt::format("{}.{}{}", stem, attempt, extension);
}

Path infoOf(const Path& trashed) {
  Path info = trashed.parent_path().parent_path() / "info" / trashed.filename();
  info += ".trashinfo";
  return info;
}

}  // namespace

LinuxTrash::LinuxTrash(Files& files, const Clock& clock, Path dataHome, std::uint32_t userID,
                       IsServed isServed)
    : files_(files),
      clock_(clock),
      dataHome_(std::move(dataHome)),
      userID_(userID),
      isServed_(std::move(isServed)) {}

// Others may write where it lies: a link or a folder of theirs would give them what is put in.
Result<void> LinuxTrash::makeOwn(const Path& folder) {
  VT_TRY(files_.makeFolder(folder, Privacy::ownerOnly));
  const FileStatus status = VT_TRY(files_.status(folder));
  if (status.type == FileType::folder && status.owner == userID_) return {};
  return failed(FailureKind::denied, "its folder belongs to somebody else");
}

void LinuxTrash::touched(const Path& from, const Path& to) {
  const std::scoped_lock lock(mutex_);
  unflushed_.insert(from.parent_path());
  unflushed_.insert(to.parent_path());
}

// What is recorded next, perhaps on another disk, says that the files have gone. Where a folder
// cannot be flushed they have moved all the same.
void LinuxTrash::flush() {
  std::unique_lock lock(mutex_);
  const std::set<Path> folders = std::exchange(unflushed_, {});
  const std::vector<Path> infos = std::exchange(unflushedInfo_, {});
  lock.unlock();
  std::map<Path, std::vector<Path>> byFolder;
  for (const Path& info : infos) byFolder[info.parent_path()].push_back(info);
  for (const auto& [folder, files] : byFolder) (void)files_.flushFiles(files);
  for (const Path& folder : folders) settleFolder(files_, folder);
}

// A file can be renamed within its mount alone: one disk may be mounted in several places.
Result<LinuxTrash::Can> LinuxTrash::canFor(const Path& folder, std::uint64_t device) {
  const Path home = dataHome_ / "Trash";
  VT_TRY(files_.makeFolder(home, Privacy::ownerOnly));
  const Path realHome = VT_TRY(files_.resolved(home));
  const auto mounts = mountsNow();
  const MountEntry* const mount = mountOf(*mounts, folder);
  const bool isOnHomesMount = mount == mountOf(*mounts, realHome);
  if (isOnHomesMount && VT_TRY(files_.status(realHome)).device == device) return Can{home, {}};

  Path top = folder;
  while (top.has_relative_path() && (mount == nullptr || top != mount->mountPoint)) {
    const auto above = files_.status(top.parent_path());
    if (!above || above->device != device) break;
    top = top.parent_path();
  }
  // A shared folder made by the administrator, only when nobody can tamper with what others put in.
  const Path shared = top / ".Trash";
  const auto status = files_.status(shared);
  if (status && status->type == FileType::folder && (status->mode & stickyBit) != 0) {
    const Path own = shared / std::to_string(userID_);
    if (makeOwn(own)) return Can{own, top};
  }
  const Path own = top / fmt::format(".Trash-{}", userID_);
  const auto made = makeOwn(own);
  if (made) return Can{own, top};
  if (made.error().kind == FailureKind::unreachable) return std::unexpected(made.error());
  return failed(FailureKind::unsupported,
                fmt::format("its disk has no Trash, and none can be made in {}: {}", top.string(),
                            made.error().reason));
}

/// The line of the information that names the file.
std::string LinuxTrash::namedIn(const Can& can, const Path& folder, const Path& path) {
  const Path named =
      can.namedFrom.empty() ? path : (folder / path.filename()).lexically_relative(can.namedFrom);
  return fmt::format("Path={}\n", percentEncoded(named.string()));
}

Result<std::optional<Path>> LinuxTrash::moveToTrash(const Path& path) {
  const FileStatus status = VT_TRY(files_.status(path));
  // The file itself may be a link, which is what is moved; its folder is where it really lies.
  const Path folder = VT_TRY(files_.resolved(path.parent_path()));
  const Can can = VT_TRY(canFor(folder, status.device));
  VT_TRY(files_.makeFolder(can.folder / "info", Privacy::ownerOnly));
  VT_TRY(files_.makeFolder(can.folder / "files", Privacy::ownerOnly));
  const std::string info = fmt::format("[Trash Info]\n{}DeletionDate={}\n",
                                       namedIn(can, folder, path), localTime(clock_.now()));
  for (int attempt = 1; attempt <= maximumNames; ++attempt) {
    const Path place = can.folder / "files" / nameFor(path, attempt);
    const Path infoPath = infoOf(place);
    // The information first: it claims the name, and a file without it could not be put back.
    auto claimed = files_.create(infoPath, info, Privacy::ownerOnly, Durability::visible);
    if (!claimed && claimed.error().kind == FailureKind::exists && release(place)) {
      claimed = files_.create(infoPath, info, Privacy::ownerOnly, Durability::visible);
    }
    if (!claimed && claimed.error().kind == FailureKind::exists) continue;
    VT_TRY(std::move(claimed));
    auto moved = files_.moveNew(path, place);
    if (moved) {
      touched(path, place);
      const std::scoped_lock lock(mutex_);
      unflushedInfo_.push_back(infoPath);
      return std::optional(place);
    }
    // Without an answer it may have moved, and then needs the information.
    if (moved.error().kind != FailureKind::unreachable) (void)files_.remove(infoPath);
    if (moved.error().kind != FailureKind::exists) return std::unexpected(moved.error());
  }
  return failed(FailureKind::exists, "the Trash is full of files of that name");
}

/// A mount may show a name for a while after its file has gone, which an earlier attempt may have
/// done: the file itself is asked then.
Result<void> LinuxTrash::checkThere(const Path& trashed, Attempt attempt) const {
  const FileStatus status = VT_TRY(files_.status(trashed));
  if (attempt == Attempt::first || status.type != FileType::regular) return {};
  const auto opened = files_.open(trashed);
  const bool isThere = opened || opened.error().kind == FailureKind::denied;
  return isThere ? Result<void>() : std::unexpected(opened.error());
}

Result<void> LinuxTrash::restore(const Path& trashed, const Path& to, Attempt attempt) {
  const bool isRepeated = attempt == Attempt::repeated;
  if (const auto there = checkThere(trashed, attempt); !there) {
    if (!isRepeated || there.error().kind != FailureKind::notFound) {
      return std::unexpected(there.error());
    }
    VT_TRY(files_.status(to));
    clearInfo(trashed, true);
    return {};
  }
  VT_TRY(files_.makeFolder(to.parent_path(), Privacy::byUmask));
  auto moved = files_.moveNew(trashed, to);
  // Where a rename cannot spare what it finds, a move makes the new name and removes the old one.
  const bool hadBothNames =
      !moved && moved.error().kind == FailureKind::exists && VT_TRY(isOneFile(trashed, to));
  if (hadBothNames) {
    moved = files_.remove(trashed);
    if (!moved && moved.error().kind == FailureKind::notFound) moved = {};
  }
  VT_TRY(std::move(moved));
  touched(trashed, to);
  clearInfo(trashed, isRepeated || hadBothNames);
  return {};
}

bool LinuxTrash::isServedElsewhere(const Path& path) {
  return remoteMountOnTheWayTo(path).has_value();
}

void LinuxTrash::clearInfo(const Path& place, bool mayBeRemovedLate) {
  // A disk of this machine makes nothing late.
  if (mayBeRemovedLate && isServed_(place)) return keepFree(place);
  // What is left of the information names a file that is no longer there: others clear it up.
  (void)files_.remove(infoOf(place));
}

void LinuxTrash::keepFree(const Path& place) {
  std::string info = files_.read(infoOf(place), longestInfo).value_or("[Trash Info]\n");
  info.resize(std::min(info.size(), info.find(keptFreeUntil)));
  info += fmt::format("{}{:.0f}\n", keptFreeUntil, clock_.now() + landingSeconds);
  const auto kept = files_.replace(infoOf(place), info, Privacy::ownerOnly);
  if (!kept) logWarning("Trash", "a name is not kept free: {}", kept.error().reason);
}

bool LinuxTrash::isKeptFree(std::string_view info) const {
  const std::size_t at = info.find(keptFreeUntil);
  if (at == std::string_view::npos) return false;
  double until = std::strtod(std::string(info.substr(at + keptFreeUntil.size())).c_str(), nullptr);
  return until != 0 && mayStillLand(until, clock_.now());
}

bool LinuxTrash::release(const Path& place) {
  const auto info = files_.read(infoOf(place), longestInfo);
  if (!info || info->find(keptFreeUntil) == std::string::npos || isKeptFree(*info)) return false;
  const auto there = files_.status(place);
  return !there && there.error().kind == FailureKind::notFound && files_.remove(infoOf(place));
}

Result<bool> LinuxTrash::isOneFile(const Path& one, const Path& other) const {
  const auto statusOf = [this](const Path& path) -> Result<std::optional<FileStatus>> {
    const auto status = files_.status(path);
    if (status) return *status;
    if (status.error().kind == FailureKind::unreachable) return std::unexpected(status.error());
    return std::nullopt;
  };
  const auto first = VT_TRY(statusOf(one));
  const auto second = VT_TRY(statusOf(other));
  const auto firstFolder = VT_TRY(statusOf(one.parent_path() / "."));
  const auto secondFolder = VT_TRY(statusOf(other.parent_path() / "."));
  if (!firstFolder || !secondFolder || firstFolder->inode == secondFolder->inode) return false;
  if (!first || !second || first->type != FileType::regular || first->device != second->device) {
    return false;
  }
  if (first->inode == second->inode) return true;
  if (!FileMark::of(*first).isLike(*second)) return false;
  const auto isSame = isSameContent(files_, one, other);
  if (!isSame && isSame.error().kind == FailureKind::unreachable) return isSame;
  return isSame.value_or(false);
}

Result<std::optional<Trash::Found>> LinuxTrash::find(const Path& path, const FileMark& file) {
  const auto orSilence = [](const Failure& failure) -> Result<std::optional<Found>> {
    if (failure.kind == FailureKind::unreachable) return std::unexpected(failure);
    return std::nullopt;
  };
  const auto folder = files_.resolved(path.parent_path());
  const auto status = folder ? files_.status(*folder) : std::unexpected(folder.error());
  const auto can = status ? canFor(*folder, status->device) : std::unexpected(status.error());
  if (!can) return orSilence(can.error());
  const std::string name = namedIn(*can, *folder, path);
  std::vector<Path> alike;
  // Names may have become free again meanwhile, and so leave gaps.
  for (int attempt = 1, missing = 0; attempt <= maximumNames && missing < longestGap; ++attempt) {
    Path place = can->folder / "files" / nameFor(path, attempt);
    const auto there = files_.status(place);
    if (!there && there.error().kind == FailureKind::unreachable) return orSilence(there.error());
    if (there && file.isOf(*there)) return endMove(path, place);
    const auto info = files_.read(infoOf(place), longestInfo);
    if (!info && info.error().kind == FailureKind::unreachable) return orSilence(info.error());
    const bool isFromThere = info && info->find(name) != std::string::npos;
    if (there && isFromThere && file.isLike(*there)) alike.push_back(place);
    // Empty: cut short before it was written.
    const bool isOurs = isFromThere || (info && info->empty());
    if (!there && isOurs && !isKeptFree(*info)) (void)files_.remove(infoOf(place));
    missing = there || info ? 0 : missing + 1;
  }
  if (alike.size() == 1) return endMove(path, alike.front());
  return std::nullopt;
}

Result<std::optional<Trash::Found>> LinuxTrash::endMove(const Path& path, const Path& place) {
  if (!VT_TRY(isOneFile(place, path))) return Found{place};
  const auto ended = files_.remove(path);
  // A mount may show a name for a while after it has gone.
  if (!ended && ended.error().kind == FailureKind::unreachable) {
    return std::unexpected(ended.error());
  }
  if (!ended && ended.error().kind != FailureKind::notFound) return std::nullopt;
  touched(path, place);
  return Found{place, true};
}

}  // namespace vantorel
