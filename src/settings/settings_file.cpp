#include "settings/settings_file.hpp"

#include <fmt/format.h>

#include <chrono>

#include "base/json_document.hpp"
#include "base/json_fault.hpp"
#include "base/json_writer.hpp"
#include "base/log.hpp"
#include "base/random_id.hpp"
#include "base/round_trip.hpp"

namespace vantorel {
namespace {

using namespace std::chrono_literals;

constexpr auto writeDelay = 100ms;
constexpr auto retryDelay = 5s;
constexpr auto lockRetry = 20ms;
constexpr int lockAttempts = 250;
constexpr auto editingTime = 2s;  // an editor's file may make no sense for a moment
constexpr std::uint64_t largestFile = 16 << 20;

/// A name for a file that makes no sense.
Path asideOf(const Path& file) {
  return file.parent_path() /
         fmt::format("{}-{}.unreadable.json", file.stem().string(), randomID().substr(0, 8));
}

}  // namespace

/// The file itself. Blocks: used on the io runner, and by the constructor before that runner has
/// anything of ours to do.
class SettingsFile::Disk {
 public:
  Disk(Files& files, Path file) : files_(files), file_(std::move(file)) {}

  /// Fails with `malformed` when the content makes no sense, and says of "the settings" why; a
  /// missing file is empty.
  [[nodiscard]] Result<Values> read() const {
    auto text = files_.read(file_, largestFile);
    if (!text && text.error().kind == FailureKind::notFound) return Values{};
    if (!text) return std::unexpected(text.error());
    auto root = json::parseValue(*text);
    if (!root && root.error().kind == FailureKind::malformed) {
      return failed(FailureKind::malformed,
                    fmt::format("have a mistake in line {}", json::faultLine(*text)));
    }
    if (!root) return std::unexpected(root.error());
    const auto* const object = std::get_if<json::Object>(&root->value);
    if (object == nullptr) return failed(FailureKind::malformed, "are not a JSON object");
    Values values;
    for (const auto& [key, value] : *object) values.emplace(key, value);
    return values;
  }

  /// `busy` while another process is writing. `held` are the values of this process, from which a
  /// file is written anew that no longer makes sense.
  [[nodiscard]] Result<Applied> apply(const Changes& changes, const Values& held) {
    VT_TRY(files_.makeFolder(file_.parent_path(), Privacy::ownerOnly));
    const auto lock = VT_TRY(files_.lock(lockFile()));
    const Path file = VT_TRY(target());
    std::optional<Path> aside;
    auto read = this->read();
    if (!read && read.error().kind == FailureKind::malformed) {
      // A copy: should the disk be full, the next attempt must find the damage, not a file gone.
      aside = asideOf(file_);
      VT_TRY(files_.copyNew(file, *aside));
      read = held;
    }
    Values values = VT_TRY(std::move(read));
    for (const auto& [key, value] : changes) {
      if (value) {
        values.insert_or_assign(key, *value);
      } else {
        values.erase(key);
      }
    }
    json::Object object;
    for (const auto& [key, value] : values) object.push_back({key, value});
    auto replaced =
        files_.replace(file, json::toText({std::move(object)}) + "\n", Privacy::ownerOnly);
    if (!replaced && aside) (void)files_.remove(*aside);
    VT_TRY(std::move(replaced));
    settleFolder(files_, file.parent_path());
    return Applied{std::move(values), std::move(aside)};
  }

  /// Readable by its owner alone, and without what a run left that was killed while it wrote.
  void tidy() {
    // A file written by hand may be open to others; what comes of it shows at the next write.
    const auto file = target();
    if (!file) return;
    (void)files_.makeOwnerOnly(*file);
    const Path staging = stagingOf(*file);
    if (!files_.status(staging)) return;
    // Another process may be writing it now.
    if (const auto lock = files_.lock(lockFile())) (void)files_.remove(staging);
  }

  /// What is written: the file, or what it leads to when it is a link.
  [[nodiscard]] Result<Path> target() const {
    const auto status = files_.status(file_);
    if (!status || status->type != FileType::link) return file_;
    auto found = files_.resolved(file_);
    if (found) return found;
    return failed(found.error().kind,
                  file_.filename().string() + " is a link, and what it leads to can't be reached");
  }

 private:
  [[nodiscard]] Path lockFile() const {
    Path path = file_;
    return path.replace_extension(".lock");
  }

  Files& files_;
  Path file_;
};

SettingsFile::SettingsFile(Services services, Path file)
    : services_(std::move(services)),
      file_(std::move(file)),
      disk_(std::make_shared<Disk>(services_.files, file_)) {
  disk_->tidy();
  auto read = disk_->read();
  if (read) {
    values_ = *std::move(read);
  } else if (read.error().kind == FailureKind::malformed) {
    isDamageReported_ = true;
    problem_ = damageSentence(read.error().reason, "all of them are at their defaults");
  } else {
    blocked_ = true;
    problem_ = fmt::format("Vantorel couldn't read its settings: {}. Changes last until it quits.",
                           read.error().reason);
  }
  watch();
}

SettingsFile::~SettingsFile() = default;

std::optional<JSONValue> SettingsFile::value(std::string_view key) const {
  const auto found = values_.find(key);
  return found == values_.end() ? std::nullopt : std::optional(found->second);
}

void SettingsFile::set(std::string_view key, JSONValue value) {
  values_.insert_or_assign(std::string(key), value);
  changed(key, std::move(value));
}

void SettingsFile::remove(std::string_view key) {
  const auto found = values_.find(key);
  if (found == values_.end()) return;
  values_.erase(found);
  changed(key, std::nullopt);
}

void SettingsFile::changed(std::string_view key, std::optional<JSONValue> value) {
  if (blocked_) return;
  pending_.insert_or_assign(std::string(key), std::move(value));
  schedule(writeDelay);
}

void SettingsFile::schedule(std::chrono::nanoseconds delay) {
  debounce_.renew();
  services_.main->postAfter(delay, debounce_.guard([this] {
    if (!inFlight_) write();
  }));
}

void SettingsFile::onOutsideChange(std::function<void(std::string_view key)> listener) {
  listener_ = std::move(listener);
}

void SettingsFile::onProblem(std::function<void(const std::string& sentence)> listener) {
  problemListener_ = std::move(listener);
}

void SettingsFile::onUnsaved(std::function<void(const std::string& reason)> listener) {
  unsavedListener_ = std::move(listener);
}

void SettingsFile::flush(std::move_only_function<void(Result<void>)> done) {
  if (blocked_) {
    services_.main->post(lifetime_.guard([this, done = std::move(done)]() mutable {
      done(failed(FailureKind::denied, *problem_));
    }));
    return;
  }
  if (pending_.empty() && !inFlight_) {
    services_.main->post(lifetime_.guard([done = std::move(done)]() mutable { done({}); }));
    return;
  }
  (pending_.empty() ? landing_ : waiting_).push_back(std::move(done));
  if (!inFlight_) write();
}

void SettingsFile::write() {
  if (pending_.empty()) return;
  debounce_.renew();
  inFlight_ = true;
  writing_ = std::exchange(pending_, {});
  landing_ = std::exchange(waiting_, {});
  struct Attempt {
    std::shared_ptr<Disk> disk;
    std::shared_ptr<TaskRunner> main;
    std::shared_ptr<TaskRunner> io;
    Changes changes;
    Values held;
    std::move_only_function<void(Result<Applied>&)> reply;
    int left = lockAttempts;

    void operator()() {
      Result<Applied> result = disk->apply(changes, held);
      if (!result && result.error().kind == FailureKind::busy && --left > 0) {
        io->postAfter(lockRetry, std::move(*this));
        return;
      }
      main->post(
          [answer = std::move(reply), result = std::move(result)]() mutable { answer(result); });
    }
  };
  services_.io->post(
      Attempt{disk_, services_.main, services_.io, writing_, values_,
              lifetime_.guard([this](Result<Applied>& result) { written(std::move(result)); })});
}

void SettingsFile::written(Result<Applied> result) {
  inFlight_ = false;
  const Changes tried = std::exchange(writing_, {});
  auto waiting = std::exchange(landing_, {});
  Result<void> answer;
  std::optional<Path> aside;
  const std::string failureBefore = writeFailure_;
  if (result) {
    aside = std::move(result->aside);
    writeFailure_.clear();
    damage_.renew();
    isDamageReported_ = false;
    adopt(std::move(result->values));
  } else {
    // Every try until there is room again fails for the same reason.
    if (std::exchange(writeFailure_, result.error().reason) != result.error().reason) {
      logError("Settings", "the settings could not be written: {}", result.error().reason);
    }
    answer = std::unexpected(result.error());
    for (const auto& [key, value] : tried) pending_.try_emplace(key, value);
  }
  if (!waiting_.empty()) {
    write();
  } else if (!pending_.empty()) {
    schedule(answer ? std::chrono::nanoseconds(writeDelay) : retryDelay);
  }
  if (aside) {
    const std::string sentence = fmt::format(
        "Vantorel couldn't read its settings when it changed them. The file was put aside as {}, "
        "and written anew with the settings in force.",
        aside->filename().string());
    logError("Settings", "{}", sentence);
    if (problemListener_) problemListener_(sentence);
  }
  if (writeFailure_ != failureBefore && unsavedListener_) unsavedListener_(writeFailure_);
  for (auto& done : waiting) done(answer);
}

bool SettingsFile::isOurs(std::string_view key) const {
  return pending_.contains(key) || writing_.contains(key);
}

void SettingsFile::adopt(Values values) {
  std::vector<std::string> changedKeys;
  for (const auto& [key, value] : values) {
    const auto found = values_.find(key);
    if (!isOurs(key) && (found == values_.end() || found->second != value)) {
      changedKeys.push_back(key);
    }
  }
  for (const auto& [key, value] : values_) {
    if (!isOurs(key) && !values.contains(key)) changedKeys.push_back(key);
  }
  for (const std::string& key : changedKeys) {
    const auto found = values.find(key);
    if (found == values.end()) {
      values_.erase(key);
    } else {
      values_.insert_or_assign(key, found->second);
    }
  }
  if (!listener_) return;
  for (const std::string& key : changedKeys) listener_(key);
}

void SettingsFile::watch() {
  if (services_.watcher == nullptr || blocked_) return;
  // The folder must be there to be watched; making it is harmless and quick.
  (void)services_.files.makeFolder(file_.parent_path(), Privacy::ownerOnly);
  const Path file = disk_->target().value_or(file_);
  auto watch = services_.watcher->watch(
      file.parent_path(), services_.main, [this, name = file.filename()](const FolderEvent& event) {
        if (event.name == name || event.kind == FolderEvent::Kind::overflowed) {
          readAgain();
        }
      });
  if (watch) watch_ = *std::move(watch);
}

void SettingsFile::readAgain() {
  roundTrip(
      *services_.io, services_.main, [disk = disk_] { return disk->read(); },
      lifetime_.guard([this](Result<Values> values) {
        damage_.renew();
        if (values) {
          const bool isNews = std::exchange(isDamageReported_, false);
          if (isNews && problemListener_) problemListener_({});
          if (!inFlight_) adopt(*std::move(values));
        } else if (values.error().kind == FailureKind::malformed && !isDamageReported_) {
          services_.main->postAfter(
              editingTime,
              damage_.guard([this, reason = values.error().reason] { reportDamage(reason); }));
        }
      }));
}

std::string SettingsFile::damageSentence(std::string_view damage,
                                         std::string_view consequence) const {
  return fmt::format(
      "The settings {}, so {}. Correct {}, or it is put aside when a setting is changed.", damage,
      consequence, file_.string());
}

void SettingsFile::reportDamage(const std::string& reason) {
  isDamageReported_ = true;
  const std::string sentence = damageSentence(reason, "those in force stay");
  logError("Settings", "{}", sentence);
  if (problemListener_) problemListener_(sentence);
}

}  // namespace vantorel
