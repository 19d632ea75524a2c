#include "library/history_disk.hpp"

#include <utility>

#include "base/round_trip.hpp"

namespace vantorel {
namespace {

void forEachFile(const ScreenshotEntry& entry, const auto& action) {
  action(entry.path);
  if (entry.originalPath && *entry.originalPath != entry.path) action(*entry.originalPath);
}

/// 0 for what is not there or cannot be looked up.
std::uint64_t sizeOf(const Files& files, const Path& path) {
  const auto status = files.status(path);
  return status && status->type == FileType::regular ? status->size : 0;
}

}  // namespace

bool HistoryDisk::Ledger::add(std::string_view path) {
  auto found = files_.find(path);
  if (found == files_.end()) found = files_.emplace(path, File{}).first;
  return ++found->second.refs == 1;
}

void HistoryDisk::Ledger::remove(std::string_view path) {
  const auto found = files_.find(path);
  if (found == files_.end() || --found->second.refs > 0) return;
  total_ -= found->second.size;
  files_.erase(found);
}

void HistoryDisk::Ledger::setSize(std::string_view path, std::uint64_t bytes) {
  const auto found = files_.find(path);
  if (found == files_.end()) return;
  total_ = total_ - found->second.size + bytes;
  found->second.size = bytes;
}

HistoryDisk::HistoryDisk(HistoryStore& store, const Files& files, std::shared_ptr<TaskRunner> main,
                         std::shared_ptr<TaskRunner> work)
    : store_(store), files_(files), main_(std::move(main)), work_(std::move(work)) {}

void HistoryDisk::whenMeasured(std::move_only_function<void(std::uint64_t)> done) {
  waiting_.push_back(std::move(done));
  if (!ledger_ && !isMeasuring_) {
    observation_ = store_.observe([this](const HistoryChange& change) { follow(change); });
    measure();
  }
  main_->post(lifetime_.guard([this] { notify(); }));
}

// A large library takes a while to look through, so its first ledger is made away from the main
// runner; what changes meanwhile is entered afterwards.
void HistoryDisk::measure() {
  isMeasuring_ = true;
  measuring_.renew();
  missed_.clear();
  ledger_.reset();
  if (!store_.isLoaded()) return;  // begins when it is
  roundTrip(
      *work_, main_,
      [&files = files_, entries = store_.entries()] {
        Ledger made;
        for (const EntryPointer& entry : entries) {
          forEachFile(*entry, [&](const std::string& path) {
            if (made.add(path)) made.setSize(path, sizeOf(files, path));
          });
        }
        return made;
      },
      measuring_.guard([this](Ledger made) {
        ledger_ = std::move(made);
        isMeasuring_ = false;
        for (const HistoryChange& change : std::exchange(missed_, {})) follow(change);
        notify();
      }));
}

void HistoryDisk::follow(const HistoryChange& change) {
  if (change.loaded) return measure();
  if (!ledger_) return missed_.push_back(change);
  const auto add = [this](const EntryPointer& entry) {
    forEachFile(*entry, [this](const std::string& path) {
      if (ledger_->add(path)) unknown_.push_back(path);
    });
  };
  const auto remove = [this](const EntryPointer& entry) {
    forEachFile(*entry, [this](const std::string& path) { ledger_->remove(path); });
  };
  for (const EntryPointer& entry : change.added) add(entry);
  for (const auto& [before, after] : change.updated) {
    add(after);
    remove(before);
    // A rewrite in place leaves the path as it was.
    if (before->path == after->path && before->pixelWidth != after->pixelWidth) {
      unknown_.push_back(after->path);
    }
  }
  for (const EntryPointer& entry : change.removed) remove(entry);
  lookUp();
}

void HistoryDisk::fileChanged(const std::string& path) {
  if (!ledger_) return;
  unknown_.push_back(path);
  lookUp();
}

void HistoryDisk::lookUp() {
  if (isLookingUp_ || unknown_.empty()) return;
  isLookingUp_ = true;
  using Sizes = std::vector<std::pair<std::string, std::uint64_t>>;
  roundTrip(
      *work_, main_,
      [&files = files_, paths = std::exchange(unknown_, {})] {
        Sizes sizes;
        for (const std::string& path : paths) sizes.emplace_back(path, sizeOf(files, path));
        return sizes;
      },
      lifetime_.guard([this](const Sizes& sizes) {
        isLookingUp_ = false;
        if (!ledger_) return;
        for (const auto& [path, size] : sizes) ledger_->setSize(path, size);
        lookUp();
        notify();
      }));
}

void HistoryDisk::notify() {
  if (!ledger_ || isLookingUp_) return;
  for (auto& done : std::exchange(waiting_, {})) done(ledger_->total());
}

}  // namespace vantorel
