#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/linux/file_server_process.hpp"
#include "platform/linux/linux_files.hpp"

namespace vantorel {

/// The file system, with an end to waiting for what another machine or program serves
/// (`remoteMountOnTheWayTo`). Each such mount has a process of its own, started when it is first
/// needed, that does there what is asked: a call that hangs holds that process alone. The disks of
/// this machine are used directly. Any thread.
///
/// What shows no progress in time fails with `unreachable`, and its process is killed. Until that
/// has ended, which is when the server lets it go, everything about the mount fails at once; then
/// another is started. A change that failed so may be done in part, as when this program is killed
/// in the midst of it; so does one that fails with an error behind which a lost reply may stand
/// (`mayBeLostReply`). What was read or written piece by piece may take as long as it likes. A
/// folder, content or lock had of a process that was killed is lost with it, but a lock is taken
/// anew before anything else is done there, and nothing is while another process has it.
class RemoteFiles final : public Files {
 public:
  /// How long nothing may be heard.
  struct Bounds {
    std::chrono::nanoseconds look = std::chrono::seconds(5);
    std::chrono::nanoseconds change = std::chrono::seconds(30);  ///< and each piece of a content
  };

  /// This program is started once more for each mount.
  RemoteFiles();
  explicit RemoteFiles(Bounds bounds);

  /// `command` starts a program that calls `serveFiles`.
  RemoteFiles(std::vector<std::string> command, Bounds bounds);
  ~RemoteFiles() override;

  [[nodiscard]] Result<std::string> read(const Path& path,
                                         std::uint64_t limit = UINT64_MAX) const override;
  [[nodiscard]] Result<FileStatus> status(const Path& path) const override;
  [[nodiscard]] Result<std::vector<FolderItem>> list(const Path& folder) const override;
  [[nodiscard]] Result<Path> resolved(const Path& path) const override;
  [[nodiscard]] Result<FolderLocation> location(const Path& folder) const override;
  [[nodiscard]] Result<std::unique_ptr<FolderHandle>> hold(const Path& folder) const override;
  Result<void> makeFolder(const Path& folder, Privacy privacy) override;
  Result<void> create(const Path& path, std::string_view bytes, Privacy privacy,
                      Durability durability) override;
  Result<void> replace(const Path& path, std::string_view bytes, Privacy privacy) override;
  [[nodiscard]] Result<std::shared_ptr<FileContent>> open(const Path& path) const override;
  Result<std::shared_ptr<FileContent>> replaceWithParts(
      const Path& path, std::span<const ContentPart> parts, Privacy privacy,
      const std::function<Result<void>()>& mayReplace) override;
  Result<Tightening> makeOwnerOnly(const Path& path) override;
  Result<void> moveNew(const Path& from, const Path& to) override;
  Result<void> linkNew(const Path& from, const Path& to) override;
  Result<void> copyNew(const Path& from, const Path& to) override;
  Result<void> remove(const Path& path) override;
  Result<void> flushFolder(const Path& folder) override;
  Result<void> flushFiles(std::span<const Path> files) override;
  [[nodiscard]] Result<void> checkWritable(const Path& folder) const override;
  [[nodiscard]] Result<std::string> attribute(const Path& path,
                                              std::string_view name) const override;
  Result<void> setAttribute(const Path& path, std::string_view name,
                            std::string_view value) override;
  Result<void> removeAttribute(const Path& path, std::string_view name) override;
  Result<std::unique_ptr<FileLock>> lock(const Path& path) override;

  /// The process that holds the lock of `path`; see `vantorel::lockHolder`.
  [[nodiscard]] std::optional<long> lockHolder(const Path& path) const;

  /// Adds a folder to an inotify queue, for these events; answers its number in that queue.
  [[nodiscard]] Result<int> watch(int queue, const Path& folder, std::uint32_t events) const;

 private:
  struct Mount;
  struct HeldLock;
  class RemoteLock;
  struct Patience;
  using Server = std::shared_ptr<FileServerProcess>;  ///< null for the disks of this machine

  [[nodiscard]] Result<Server> serverFor(const Path& path) const;
  [[nodiscard]] Result<Server> serverFor(const Path& from, const Path& to) const;
  [[nodiscard]] Result<Server> serverOf(Mount& mount) const;
  [[nodiscard]] std::shared_ptr<Mount> mountFor(const Path& path) const;
  [[nodiscard]] Patience look() const;
  [[nodiscard]] Patience longLook() const;
  [[nodiscard]] Patience change() const;

  mutable LinuxFiles local_;
  std::vector<std::string> command_;
  Bounds bounds_;
  mutable std::mutex mutex_;
  mutable std::map<unsigned long long, std::shared_ptr<Mount>> mounts_;  // by the mount's id
  mutable std::vector<std::weak_ptr<FileServerProcess>> servers_;        // that hold folders
};

}  // namespace vantorel
