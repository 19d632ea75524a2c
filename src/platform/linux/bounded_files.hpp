#pragma once

#include <chrono>
#include <cstddef>
#include <memory>

#include "platform/files.hpp"

namespace vantorel {

/// Files, with an end to waiting for those that another machine or program serves
/// (`remoteMountOnTheWayTo`): what is not answered in time fails with `unreachable`. Until such an
/// answer comes after all, everything else about that mount fails at once. Any thread.
///
/// Such a call runs on a thread of its own. One that hangs is left behind; there are never more
/// than `Bounds::calls` of them. A change that was left behind may yet happen. Contents have as
/// long as they take, from a mount that answers at their beginning.
class BoundedFiles final : public Files {
 public:
  struct Bounds {
    std::chrono::nanoseconds look = std::chrono::seconds(5);
    std::chrono::nanoseconds change = std::chrono::seconds(30);  ///< of names; and whole folders
    std::size_t calls = 24;
  };

  explicit BoundedFiles(std::shared_ptr<Files> files) : BoundedFiles(std::move(files), Bounds()) {}
  BoundedFiles(std::shared_ptr<Files> files, Bounds bounds);

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
  Result<std::shared_ptr<FileContent>> replaceWithParts(const Path& path,
                                                        std::span<const ContentPart> parts,
                                                        Privacy privacy) override;
  Result<Tightening> makeOwnerOnly(const Path& path) override;
  Result<void> moveNew(const Path& from, const Path& to) override;
  Result<void> linkNew(const Path& from, const Path& to) override;
  Result<void> copyNew(const Path& from, const Path& to) override;
  Result<void> remove(const Path& path) override;
  Result<void> flushFolder(const Path& folder) override;
  [[nodiscard]] Result<void> checkWritable(const Path& folder) const override;
  [[nodiscard]] Result<std::string> attribute(const Path& path,
                                              std::string_view name) const override;
  Result<void> setAttribute(const Path& path, std::string_view name,
                            std::string_view value) override;
  Result<void> removeAttribute(const Path& path, std::string_view name) override;
  Result<std::unique_ptr<FileLock>> lock(const Path& path) override;

 private:
  struct Mounts;

  template <class Job>
  auto within(std::chrono::nanoseconds bound, const Path& path, Job job) const
      -> decltype(job(std::declval<Files&>()));
  [[nodiscard]] Result<void> answers(const Path& path) const;

  std::shared_ptr<Files> files_;
  Bounds bounds_;
  std::shared_ptr<Mounts> mounts_;
};

}  // namespace vantorel
