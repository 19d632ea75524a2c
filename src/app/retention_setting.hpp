#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <utility>

#include "base/lifetime.hpp"
#include "base/observers.hpp"
#include "library/history_retention.hpp"
#include "platform/alerts.hpp"
#include "settings/settings_store.hpp"

namespace vantorel {

/// Carries the age at which captures go from the settings to the library, and the library's
/// question whether they may to the user. A no puts back the age that was agreed to before. Lives
/// on the main runner.
class RetentionSetting {
 public:
  struct Services {
    HistoryRetention& retention;
    SettingsStore& settings;
    Alerts& alerts;
  };

  explicit RetentionSetting(Services services) : services_(services) {}

  /// From now on.
  void follow();

  /// Why captures do not go yet at the age that is set; empty when nothing is in their way.
  [[nodiscard]] std::string remark() const;

  /// Called when `remark` may have changed, but for a change of the setting.
  Observation observe(std::function<void()> observer) {
    return observers_.add(std::move(observer));
  }

 private:
  void ask(std::size_t count, RetentionPolicy policy);
  void answered(RetentionPolicy asked, bool isAgreed);

  Services services_;
  bool isFollowed_ = false;
  bool isChoosing_ = false;  // a question that comes now answers the user, and gets the keyboard
  Observation observation_;
  AlertID question_ = 0;
  Observers<> observers_;
  Lifetime lifetime_;
};

}  // namespace vantorel
