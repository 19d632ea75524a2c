#include "app/library_pane.hpp"

#include <fmt/format.h>

#include <atomic>
#include <map>
#include <utility>

#include "base/count_text.hpp"
#include "base/size_text.hpp"
#include "library/silent_folders.hpp"

namespace vantorel {
namespace {

/// Carries how far work has come from where it runs to the main runner: the newest alone, so that a
/// fast disk does not flood it. Any thread.
class ProgressRelay : public std::enable_shared_from_this<ProgressRelay> {
 public:
  using Report = std::function<void(LibraryPane::Progress)>;  // called on `main`

  ProgressRelay(std::shared_ptr<TaskRunner> main, Report report)
      : main_(std::move(main)), report_(std::move(report)) {}

  void put(std::size_t done, std::size_t total) {
    done_ = done;
    total_ = total;
    if (isUnderWay_.exchange(true)) return;
    main_->post([self = shared_from_this()] {
      self->isUnderWay_ = false;
      self->report_({self->done_, self->total_});
    });
  }

 private:
  std::shared_ptr<TaskRunner> main_;
  Report report_;
  std::atomic<std::size_t> done_ = 0;
  std::atomic<std::size_t> total_ = 0;
  std::atomic<bool> isUnderWay_ = false;
};

std::string sizeWords(std::size_t captures, std::optional<std::uint64_t> bytes) {
  std::string text = countText(captures) + (captures == 1 ? " capture" : " captures");
  if (bytes) text += ", " + sizeText(*bytes);
  return text;
}

}  // namespace

std::string sentence(const VerifyReport& report) {
  if (report.wasStopped) return "Stopped. Nothing was changed.";
  if (report.indexNotSaved) {
    return fmt::format("The library's index could not be saved: {}.", *report.indexNotSaved);
  }
  std::string text = sizeWords(report.captures, report.bytes) + ". ";
  if (report.findings.empty()) {
    text += "Everything is in order.";
  } else {
    std::map<FindingKind, std::size_t> open;
    for (const VerifyReport::Finding& finding : report.findings) {
      if (!finding.isRepaired) ++open[finding.kind];
    }
    const std::size_t repaired = report.repairedCount();
    if (repaired > 0) text += countText(repaired) + " repaired";
    for (const auto& [kind, count] : open) {
      const bool isFirst = repaired == 0 && kind == open.begin()->first;
      text += fmt::format("{}{} × {}", isFirst ? "Found: " : ", ", countText(count), nameOf(kind));
    }
    text += ".";
  }
  const std::string silence = silenceOf(report.silentFolders);
  if (!silence.empty()) text += " " + silence;
  while (text.ends_with('\n')) text.pop_back();
  return text;
}

std::string LibraryPane::Progress::words() const {
  return total == 0 ? std::string() : countText(done) + " of " + countText(total);
}

void LibraryPane::moveTo(const Path& folder) {
  if (moving_) return;
  moving_ = Progress{};
  moveReport_.clear();
  moveFlag_ = std::make_shared<RelocationStopFlag>();
  observers_.notify();
  services_.library.whenReady(lifetime_.guard([this, folder, flag = moveFlag_] {
    const auto relay = std::make_shared<ProgressRelay>(
        services_.main, lifetime_.guard([this, flag](Progress progress) {
          if (!moving_ || moveFlag_ != flag) return;
          moving_ = progress;
          observers_.notify();
        }));
    services_.move.moveTo(
        folder, [relay](std::size_t done, std::size_t total) { relay->put(done, total); }, flag,
        lifetime_.guard([this, flag](const Result<RelocationOutcome, FolderRefusal>& outcome) {
          moved(outcome, flag->stopped);
        }));
  }));
}

void LibraryPane::stopMove() {
  if (moveFlag_) moveFlag_->stopped = true;
}

void LibraryPane::moved(const Result<RelocationOutcome, FolderRefusal>& outcome, bool isCalledOff) {
  moving_.reset();
  std::string title(RelocationReport::notMovedTitle);
  bool isTrouble = true;
  if (!outcome) {
    moveReport_ = sentence(outcome.error());
  } else if (auto alert = RelocationReport::alert(*outcome)) {
    const bool isStopped =
        outcome->stoppedForQuit && isCalledOff && !outcome->indexNotSaved && !outcome->refusal;
    moveReport_ = isStopped ? "Stopped. " + stillThere(outcome->failed + outcome->notMoved)
                            : std::move(alert->text);
    title = std::move(alert->title);
    isTrouble = !isStopped;
  } else {
    isTrouble = false;
    const auto count = static_cast<std::size_t>(outcome->moved);
    if (count > 0) moveReport_ = sizeWords(count, std::nullopt) + " moved.";
  }
  if (isTrouble && *windows_ == 0) services_.alerts.notify(std::move(title), moveReport_);
  observers_.notify();
}

void LibraryPane::verify(bool repairs) {
  if (verifying_) return;
  verifying_ = Progress{};
  verifyReport_.clear();
  verifyFlag_ = std::make_shared<RelocationStopFlag>();
  observers_.notify();
  services_.library.whenReady(lifetime_.guard([this, repairs, flag = verifyFlag_] {
    const auto relay = std::make_shared<ProgressRelay>(
        services_.main, lifetime_.guard([this, flag](Progress progress) {
          if (!verifying_ || verifyFlag_ != flag) return;
          verifying_ = progress;
          observers_.notify();
        }));
    services_.repair.run(
        repairs,
        [relay, flag](std::size_t done, std::size_t total) {
          relay->put(done, total);
          return !flag->stopped;
        },
        lifetime_.guard(
            [this, repairs](const VerifyReport& report) { verified(report, repairs); }));
  }));
}

void LibraryPane::stopVerify() {
  if (verifyFlag_) verifyFlag_->stopped = true;
}

void LibraryPane::verified(const VerifyReport& report, bool repairs) {
  verifying_.reset();
  verifyReport_ = sentence(report);
  canRepair_ = !repairs && !report.wasStopped && !report.indexNotSaved &&
               report.repairedCount() < report.findings.size();
  observers_.notify();
}

void LibraryPane::measure() {
  if (isMeasured_) return;
  isMeasured_ = true;
  services_.library.whenReady(lifetime_.guard([this] {
    const auto changed = [this] { observers_.notify(); };
    libraryObservation_ =
        services_.library.store().observe([changed](const HistoryChange&) { changed(); });
    services_.library.disk().whenMeasured(lifetime_.guard([changed](std::uint64_t) { changed(); }));
    changed();
  }));
}

std::string LibraryPane::size() const {
  const HistoryStore& store = services_.library.store();
  if (!store.isLoaded()) return {};
  return sizeWords(store.entries().size(), services_.library.disk().storageBytes());
}

Observation LibraryPane::shown() {
  ++*windows_;
  return Observation(std::shared_ptr<void>(nullptr, [windows = windows_](void*) { --*windows; }));
}

}  // namespace vantorel
