#include "platform/linux/bounded_files.hpp"

#include <condition_variable>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/linux/remote_mounts.hpp"

namespace vantorel {
namespace {

/// So little is written at once.
constexpr std::size_t fewBytes = 64 * 1024;

std::unexpected<Failure> silence() {
  return failed(FailureKind::unreachable, "it does not answer");
}

}  // namespace

/// What is going on at remote mounts. Outlives the files, for the threads that were left behind.
struct BoundedFiles::Mounts {
  std::mutex mutex;
  std::condition_variable answered;
  std::size_t calls = 0;                         // under way or left behind
  std::map<unsigned long long, int> leftBehind;  // by the mount's id

  void end(unsigned long long mount, bool isLeftBehind) {
    --calls;
    if (isLeftBehind && --leftBehind[mount] == 0) leftBehind.erase(mount);
  }
};

BoundedFiles::BoundedFiles(std::shared_ptr<Files> files, Bounds bounds)
    : files_(std::move(files)), bounds_(bounds), mounts_(std::make_shared<Mounts>()) {}

template <class Job>
auto BoundedFiles::within(std::chrono::nanoseconds bound, const Path& path, Job job) const
    -> decltype(job(std::declval<Files&>())) {
  using Answer = decltype(job(std::declval<Files&>()));
  const auto remote = remoteMountOnTheWayTo(path);
  if (!remote) return job(*files_);
  struct Call {
    std::optional<Answer> answer;
    bool isLeftBehind = false;
  };
  const auto call = std::make_shared<Call>();
  std::unique_lock lock(mounts_->mutex);
  if (mounts_->leftBehind.contains(remote->id) || mounts_->calls >= bounds_.calls) return silence();
  try {
    std::thread([mounts = mounts_, files = files_, call, id = remote->id,
                 job = std::move(job)]() mutable {
      std::optional<Answer> answer = job(*files);
      const std::scoped_lock mine(mounts->mutex);
      mounts->end(id, call->isLeftBehind);
      call->answer = std::move(answer);
      mounts->answered.notify_all();
    }).detach();
  } catch (const std::system_error&) {
    return failed(FailureKind::other, "the system has no thread left");
  }
  ++mounts_->calls;
  if (mounts_->answered.wait_for(lock, bound, [&] { return call->answer.has_value(); })) {
    return *std::move(call->answer);
  }
  call->isLeftBehind = true;
  ++mounts_->leftBehind[remote->id];
  return silence();
}

/// Whether the mount on which a content lies, or is to lie, answers now.
Result<void> BoundedFiles::answers(const Path& path) const {
  const auto status = this->status(path.parent_path());
  if (!status && status.error().kind == FailureKind::unreachable) {
    return std::unexpected(status.error());
  }
  return {};
}

Result<std::string> BoundedFiles::read(const Path& path, std::uint64_t limit) const {
  VT_TRY(answers(path));
  return files_->read(path, limit);
}

Result<FileStatus> BoundedFiles::status(const Path& path) const {
  return within(bounds_.look, path, [path](Files& files) { return files.status(path); });
}

Result<std::vector<FolderItem>> BoundedFiles::list(const Path& folder) const {
  return within(bounds_.change, folder, [folder](Files& files) { return files.list(folder); });
}

Result<Path> BoundedFiles::resolved(const Path& path) const {
  return within(bounds_.look, path, [path](Files& files) { return files.resolved(path); });
}

Result<FolderLocation> BoundedFiles::location(const Path& folder) const {
  return within(bounds_.look, folder, [folder](Files& files) { return files.location(folder); });
}

Result<std::unique_ptr<FolderHandle>> BoundedFiles::hold(const Path& folder) const {
  return within(bounds_.look, folder, [folder](Files& files) { return files.hold(folder); });
}

Result<void> BoundedFiles::makeFolder(const Path& folder, Privacy privacy) {
  return within(bounds_.change, folder,
                [=](Files& files) { return files.makeFolder(folder, privacy); });
}

Result<void> BoundedFiles::create(const Path& path, std::string_view bytes, Privacy privacy,
                                  Durability durability) {
  if (bytes.size() <= fewBytes) {
    return within(bounds_.change, path, [=, kept = std::string(bytes)](Files& files) {
      return files.create(path, kept, privacy, durability);
    });
  }
  VT_TRY(answers(path));
  return files_->create(path, bytes, privacy, durability);
}

Result<void> BoundedFiles::replace(const Path& path, std::string_view bytes, Privacy privacy) {
  if (bytes.size() <= fewBytes) {
    return within(bounds_.change, path, [=, kept = std::string(bytes)](Files& files) {
      return files.replace(path, kept, privacy);
    });
  }
  VT_TRY(answers(path));
  return files_->replace(path, bytes, privacy);
}

Result<std::shared_ptr<FileContent>> BoundedFiles::open(const Path& path) const {
  return within(bounds_.look, path, [path](Files& files) { return files.open(path); });
}

Result<std::shared_ptr<FileContent>> BoundedFiles::replaceWithParts(
    const Path& path, std::span<const ContentPart> parts, Privacy privacy) {
  VT_TRY(answers(path));
  return files_->replaceWithParts(path, parts, privacy);
}

Result<Tightening> BoundedFiles::makeOwnerOnly(const Path& path) {
  return within(bounds_.change, path, [path](Files& files) { return files.makeOwnerOnly(path); });
}

Result<void> BoundedFiles::moveNew(const Path& from, const Path& to) {
  VT_TRY(answers(to));
  return within(bounds_.change, from, [=](Files& files) { return files.moveNew(from, to); });
}

Result<void> BoundedFiles::linkNew(const Path& from, const Path& to) {
  VT_TRY(answers(to));
  return within(bounds_.change, from, [=](Files& files) { return files.linkNew(from, to); });
}

Result<void> BoundedFiles::copyNew(const Path& from, const Path& to) {
  VT_TRY(answers(from));
  VT_TRY(answers(to));
  return files_->copyNew(from, to);
}

Result<void> BoundedFiles::remove(const Path& path) {
  return within(bounds_.change, path, [path](Files& files) { return files.remove(path); });
}

Result<void> BoundedFiles::flushFolder(const Path& folder) {
  return within(bounds_.change, folder,
                [folder](Files& files) { return files.flushFolder(folder); });
}

Result<void> BoundedFiles::checkWritable(const Path& folder) const {
  return within(bounds_.change, folder,
                [folder](Files& files) { return files.checkWritable(folder); });
}

Result<std::string> BoundedFiles::attribute(const Path& path, std::string_view name) const {
  return within(bounds_.look, path, [path, kept = std::string(name)](Files& files) {
    return files.attribute(path, kept);
  });
}

Result<void> BoundedFiles::setAttribute(const Path& path, std::string_view name,
                                        std::string_view value) {
  return within(bounds_.change, path,
                [path, kept = std::string(name), text = std::string(value)](Files& files) {
                  return files.setAttribute(path, kept, text);
                });
}

Result<void> BoundedFiles::removeAttribute(const Path& path, std::string_view name) {
  return within(bounds_.change, path, [path, kept = std::string(name)](Files& files) {
    return files.removeAttribute(path, kept);
  });
}

Result<std::unique_ptr<FileLock>> BoundedFiles::lock(const Path& path) {
  return within(bounds_.look, path, [path](Files& files) { return files.lock(path); });
}

}  // namespace vantorel
