#pragma once

#include <functional>
#include <map>
#include <optional>
#include <set>

#include "platform/files.hpp"

namespace vantorel {

/// A file system in memory. Folders exist once made; "/" always does. Tests look at and change
/// `disk` directly, and may make it run out of space, become read-only or lose its attributes.
/// One thread.
class FakeFiles final : public Files {
 public:
  struct File {
    std::string bytes;
    std::map<std::string, std::string, std::less<>> attributes;
    FileStatus status;
  };

  /// Regular files by path. Hard links share a `File`.
  std::map<Path, std::shared_ptr<File>> disk;
  std::set<Path> folders{"/"};

  bool keepsAttributes = true;
  bool hasHardLinks = true;

  /// Every change fails with this kind while set.
  std::optional<FailureKind> changesFail;

  /// What lies in these folders cannot be removed.
  std::set<Path> readOnly;

  /// The n-th change from now (1 is the next) and all later ones fail with `noSpace`; 0 is off.
  int spaceEndsAtChange = 0;

  /// Called before each change with its number, counted from 1: a test throws here to stop the
  /// program between two changes as a crash would.
  std::function<void(int change)> beforeChange;
  int changes = 0;

  /// Time given to files made from now on.
  double now = 0;

  /// Bytes that `replaceWithParts` took from open files so far.
  std::uint64_t copiedBytes = 0;

  /// Folders on a disk that does not answer: everything in them fails with `unreachable`.
  std::set<Path> silent;

  /// The n-th move or removal from now (1 is the next) that changes `silencing` is not answered,
  /// and the folder is silent from then on; 0 is off. It may be made all the same.
  int silenceAtMove = 0;
  Path silencing;
  bool isUnansweredMade = false;
  bool isUnansweredHalfMade = false;  ///< a move has made the new name and not removed the old one

  /// Files that `status` goes on showing by names that they have no longer.
  std::map<Path, std::shared_ptr<File>> shownAlthoughGone;

  /// The disk at `mount` is mounted anew and numbers its files anew: each gets the number of
  /// another one, and hard links are files of their own.
  void renumber(const Path& mount);

  /// What is open by now goes with the process that served it.
  void loseOpenFiles() { ++generation; }
  int generation = 0;

  /// Changes are made, and their folders cannot be flushed.
  bool flushesFail = false;

  /// Folders flushed so far, in order.
  std::vector<Path> flushed;

  /// Folders whose content lies on a file system of its own.
  std::set<Path> mounts;

  /// What is mounted there, when it is not a disk of its own: another disk of the same name, or (as
  /// a bind mount) a folder of another one.
  std::map<Path, FolderLocation> mounted;

  /// Links and what they lead to, for `status`, `resolved` and `read`.
  std::map<Path, Path> links;

  /// Folders whose number is not the one of their name: one folder under two names, or another
  /// folder under the same name.
  std::map<Path, std::uint64_t> folderNumbers;

  /// Folders of file systems that do not say what they are.
  std::set<Path> withoutLocation;

  void put(const Path& path, std::string bytes);
  [[nodiscard]] std::string text(const Path& path) const;
  [[nodiscard]] std::vector<std::string> names(const Path& folder) const;

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
  [[nodiscard]] Result<void> change();
  [[nodiscard]] Result<void> answers(const Path& path) const;
  Result<void> makeMove(const Path& from, const Path& to,
                        const std::function<Result<void>()>& make);
  Result<void> replaceAsked(const Path& path, std::string_view bytes, Privacy privacy,
                            const std::function<Result<void>()>& mayReplace);
  [[nodiscard]] Result<void> parentExists(const Path& path) const;
  [[nodiscard]] std::uint64_t device(const Path& path) const;
  [[nodiscard]] std::uint64_t folderNumber(const Path& folder) const;
  Result<void> moveAnswered(const Path& from, const Path& to);
  Result<void> removeAnswered(const Path& path);
  void renameFolder(const Path& from, const Path& to);
  [[nodiscard]] Result<std::shared_ptr<File>> file(const Path& path) const;

  std::uint64_t nextInode_ = 1;
  std::set<Path> locked_;
};

}  // namespace vantorel
