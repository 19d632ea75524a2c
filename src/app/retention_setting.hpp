#pragma once

#include "base/observers.hpp"
#include "library/history_retention.hpp"
#include "platform/alerts.hpp"
#include "settings/settings_store.hpp"

namespace vantorel {

/// Carries the age at which captures go from the settings to the library, and asks first when a
/// change of it would move captures at once. Until the answer nothing goes. Lives on the main
/// runner.
class RetentionSetting {
 public:
  struct Services {
    const HistoryStore& store;
    HistoryRetention& retention;
    SettingsStore& settings;
    Alerts& alerts;
    const Clock& clock;
  };

  explicit RetentionSetting(Services services) : services_(services) {}

  /// From now on; the age set already is agreed to.
  void follow();

 private:
  void changed();
  void answered(RetentionPolicy asked, bool isAgreed);

  Services services_;
  RetentionPolicy agreed_ = RetentionPolicy::off;
  Observation observation_;
  AlertID question_ = 0;
  Alive alive_;
};

}  // namespace vantorel
