#include "app/output_guard.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include "library/entry_paths.hpp"

namespace vantorel {
namespace {

/// A file as one and the same under all its names.
bool isSame(const FileStatus& one, const FileStatus& other) {
  return one.device == other.device && one.inode == other.inode;
}

class Guard {
 public:
  Guard(const Files& files, const Path& output) : files_(files), output_(output) {
    if (const auto there = files_.status(output)) {
      present_ = *there;
      // What a link leads to is what somebody means who names it.
      if (const auto target = files_.resolved(output)) {
        target_ = *target;
        if (const auto status = files_.status(*target)) file_ = *status;
      }
    }
  }

  [[nodiscard]] const std::optional<FileStatus>& present() const { return present_; }

  [[nodiscard]] bool is(const Path& path) const {
    if (path == output_) return true;
    if (!file_) return false;
    const auto target = files_.resolved(path);
    const auto status = target ? files_.status(*target) : files_.status(path);
    return status && isSame(*status, *file_);
  }

  /// Most entries know the number of their file, so that few need to be looked up.
  [[nodiscard]] bool isFileOf(const ScreenshotEntry& entry) const {
    bool found = false;
    forEachPath(entry, [&](const std::string& path) {
      if (found) return;
      const bool isKnown = &path == &entry.path && entry.fileIdentity && path != output_.string();
      const bool mayBe = !isKnown || (file_ && entry.fileIdentity->file ==
                                                   static_cast<std::int64_t>(file_->inode));
      found = mayBe && is(path);
    });
    return found;
  }

  /// Inside the folder itself, not in one below it.
  [[nodiscard]] bool isIn(const Path& folder) const {
    const auto above = files_.resolved(output_.parent_path());
    const auto own = files_.resolved(folder);
    return own && ((above && *above == *own) || target_.parent_path() == *own);
  }

 private:
  const Files& files_;
  const Path& output_;
  std::optional<FileStatus> present_;
  std::optional<FileStatus> file_;
  Path target_;  ///< what `output_` leads to
};

}  // namespace

std::string sentence(const OutputFileFailure& failure) {
  switch (failure.what) {
    case OutputFileFailure::Case::notWritten:
      return fmt::format("Couldn't write {}: {}.", failure.output.string(), failure.reason);
    case OutputFileFailure::Case::overCapture:
      return "A capture of the library can't be drawn over.";
    case OutputFileFailure::Case::overInput:
      return "The picture can't be drawn over a file it is made from.";
  }
  std::unreachable();
}

Result<void, OutputFileFailure> checkOutput(const Files& files, const Path& output,
                                            const ProtectedFiles& kept) {
  using Case = OutputFileFailure::Case;
  const Guard guard(files, output);
  const auto refused = [&](const char* reason) {
    return std::unexpected(OutputFileFailure{Case::notWritten, output, reason});
  };
  if (guard.present() && guard.present()->type != FileType::regular &&
      guard.present()->type != FileType::link) {
    return refused("it is not a regular file");
  }
  const std::array own{kept.paths.data, kept.paths.stagedCaptures(), kept.paths.redactedOriginals(),
                       kept.originals};
  const auto isOwn = [&](const Path& folder) { return !folder.empty() && guard.isIn(folder); };
  if (std::ranges::any_of(own, isOwn)) return refused("the library keeps its own files there");
  if (!kept.settings.empty() && guard.is(kept.settings)) {
    return refused("Vantorel keeps its settings there");
  }
  const auto isListed = [&](const EntryPointer& entry) { return guard.isFileOf(*entry); };
  if (std::ranges::any_of(kept.entries, isListed)) {
    return std::unexpected(OutputFileFailure{Case::overCapture});
  }
  const auto isOutput = [&](const Path& path) { return guard.is(path); };
  if (std::ranges::any_of(kept.inputs, isOutput)) {
    return std::unexpected(OutputFileFailure{Case::overInput});
  }
  return {};
}

Result<void, OutputFileFailure> writeOutput(Files& files, const Path& output,
                                            std::string_view bytes, const ProtectedFiles& kept) {
  VT_TRY(checkOutput(files, output, kept));
  const Result<Path> file = files.resolved(output);
  if (auto written = files.replace(file ? *file : output, bytes, Privacy::byUmask); !written) {
    return std::unexpected(OutputFileFailure{OutputFileFailure::Case::notWritten, output,
                                             std::move(written.error().reason)});
  }
  return {};
}

}  // namespace vantorel
