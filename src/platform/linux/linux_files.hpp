#pragma once

#include <functional>
#include <optional>

#include "platform/files.hpp"

namespace vantorel {

/// The file system through POSIX calls. Symbolic links among the folders of a path are followed; at
/// its end they are followed by `read`, `list` and `makeFolder` alone, so that nothing is ever
/// written, linked or marked through a link somebody left in a folder.
class LinuxFiles final : public Files {
 public:
  using Progress = std::function<void()>;

  LinuxFiles();

  /// `progress` is called after each piece of what may take long; locks name `process` as the one
  /// that has them.
  LinuxFiles(Progress progress, long process);

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

 private:
  Progress progress_;
  long process_;
};

/// The process that holds the lock of `Files::lock`; nothing when nobody does, or it can't be told.
/// Takes no lock and makes no file.
[[nodiscard]] std::optional<long> lockHolder(const Path& path);

}  // namespace vantorel
