#include "app/shortcut_registry.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "app/records/hot_key_text.hpp"
#include "base/log.hpp"

namespace vantorel {
namespace {

/// "Print", "Print and Alt+Print", "Print, Alt+Print and F9".
std::string listed(const std::vector<std::string>& names) {
  std::string text;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (i > 0) text += i + 1 == names.size() ? " and " : ", ";
    text += names[i];
  }
  return text;
}

}  // namespace

ShortcutRegistry::ShortcutRegistry(HotKeys& hotKeys, std::shared_ptr<TaskRunner> main)
    : hotKeys_(hotKeys), main_(std::move(main)) {
  hotKeys_.onKeyboardChange = lifetime_.guard([this] { retryNow(); });
}

void ShortcutRegistry::registerShortcut(ShortcutID id, const HotKeySpec& spec,
                                        std::function<void()> onFire,
                                        std::function<void()> onRelease) {
  unregister(id);
  actions_[id] = std::move(onFire);
  releaseActions_[id] = std::move(onRelease);
  keys_[id].spec = spec;
  ask(id);
  retrySoon();
}

void ShortcutRegistry::ask(ShortcutID id) {
  GlobalHotKey& key = keys_.at(id);
  key.registration.reset();
  key.registration = hotKeys_.registerKey(
      key.spec, [this, id] { perform(actions_, id); }, [this, id] { perform(releaseActions_, id); },
      [this, id](const HotKeys::State& state) { answered(id, state); });
}

void ShortcutRegistry::answered(ShortcutID id, const HotKeys::State& state) {
  GlobalHotKey& key = keys_.at(id);
  const auto before =
      std::exchange(key.state, state ? GlobalHotKey::State::works : GlobalHotKey::State::refused);
  if (!state) {
    key.error = state.error();
    retryLater();
  }
  if (key.state != before) {
    if (state) {
      logInfo("HotKey", "{} is ours, for \"{}\"", displayText(key.spec), title(id));
    } else {
      logWarning("HotKey", "{} is not ours, for \"{}\" ({})", displayText(key.spec), title(id),
                 state.error().status);
    }
    if (onChange) onChange();
  }
  if (!isAllKnown()) return;
  for (const auto& known : std::exchange(waiting_, {})) known();
}

void ShortcutRegistry::retryLater() {
  if (std::exchange(isRetrying_, true)) return;
  main_->postAfter(retryPause_, retrying_.guard([this] {
    isRetrying_ = false;
    retry();
  }));
  retryPause_ = std::min(2 * retryPause_, longestRetryPause);
}

/// What waits for a try waits no longer than a key that was refused just now.
void ShortcutRegistry::retrySoon() {
  retryPause_ = firstRetryPause;
  retrying_.renew();
  if (std::exchange(isRetrying_, false)) retryLater();
}

void ShortcutRegistry::retryNow() {
  retrySoon();
  retry();
}

void ShortcutRegistry::retry() {
  for (const auto& [id, key] : keys_) {
    if (key.state == GlobalHotKey::State::refused) ask(id);
  }
}

void ShortcutRegistry::unregister(ShortcutID id) {
  const bool freed = works(id);
  keys_.erase(id);
  actions_.erase(id);
  releaseActions_.erase(id);
  if (!freed) return;
  // Another command may have wanted it.
  retry();
  if (onChange) onChange();
}

bool ShortcutRegistry::works(ShortcutID id) const {
  const auto found = keys_.find(id);
  return found != keys_.end() && found->second.state == GlobalHotKey::State::works;
}

std::vector<RefusedShortcut> ShortcutRegistry::refused() const {
  std::vector<RefusedShortcut> all;
  for (const auto& [id, key] : keys_) {
    if (key.state != GlobalHotKey::State::refused) continue;
    const auto holder = std::ranges::find_if(keys_, [&](const auto& other) {
      return other.second.spec == key.spec && other.second.state == GlobalHotKey::State::works;
    });
    all.push_back({id, key.spec, key.error,
                   holder == keys_.end() ? std::nullopt : std::optional(holder->first)});
  }
  return all;
}

bool ShortcutRegistry::isAllKnown() const {
  return std::ranges::none_of(
      keys_, [](const auto& row) { return row.second.state == GlobalHotKey::State::asked; });
}

void ShortcutRegistry::whenKnown(std::chrono::milliseconds bound, std::function<void()> known) {
  if (isAllKnown()) return known();
  const auto once = [called = std::make_shared<bool>(false), known = std::move(known)] {
    if (!std::exchange(*called, true)) known();
  };
  waiting_.emplace_back(once);
  main_->postAfter(bound, once);
}

void ShortcutRegistry::perform(const std::map<ShortcutID, std::function<void()>>& actions,
                               ShortcutID id) {
  const auto found = actions.find(id);
  if (found == actions.end() || !found->second) return;
  // A copy: the action may bind the key anew.
  const auto action = found->second;
  action();
}

std::string sentences(const std::vector<RefusedShortcut>& refused) {
  std::vector<std::string> held;
  std::vector<std::string> missing;
  std::vector<std::string> denied;
  std::string text;
  const auto say = [&](const std::string& sentence) {
    text += (text.empty() ? "" : " ") + sentence;
  };
  for (const RefusedShortcut& one : refused) {
    const std::string key = displayText(one.spec);
    if (one.error.what == HotKeyErrorCase::alreadyRegistered) {
      say(one.holder ? fmt::format("{} is “{}”.", key, title(*one.holder))
                     : fmt::format("{} is another command's key.", key));
    } else if (one.error.why == HotKeyObstacle::heldElsewhere) {
      if (std::ranges::find(held, key) == held.end()) held.push_back(key);
    } else if (one.error.why == HotKeyObstacle::noSuchKey) {
      missing.push_back(key);
    } else {
      denied.push_back(key);
    }
  }
  if (held.size() == 1) {
    say(fmt::format("Another program holds {}. It works once that program lets go.", held[0]));
  } else if (!held.empty()) {
    say(fmt::format("Other programs hold {}. They work once those let go.", listed(held)));
  }
  if (!missing.empty()) say(fmt::format("This keyboard has no {}.", listed(missing)));
  if (!denied.empty()) say(fmt::format("The desktop doesn't give Vantorel {}.", listed(denied)));
  return text;
}

std::optional<HotKeySpec> copyRecentBinding(const HotKeySpec& first, int number) {
  if (number == 1) return first;
  constexpr std::uint32_t zero = '0';
  if (first.keyCode < zero || first.keyCode > zero + 9) return std::nullopt;
  const std::uint32_t digit = first.keyCode - zero;
  return HotKeySpec{zero + (digit + static_cast<std::uint32_t>(number) - 1) % 10,
                    first.carbonModifiers};
}

}  // namespace vantorel
