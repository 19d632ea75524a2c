#include "app/retention_setting.hpp"

#include <utility>

namespace vantorel {

void RetentionSetting::follow() {
  agreed_ = services_.settings.values().retentionDays;
  services_.retention.setPolicy(agreed_);
  observation_ = services_.settings.observe([this](std::string_view key) {
    if (key == "retentionDays") changed();
  });
}

void RetentionSetting::changed() {
  const RetentionPolicy chosen = services_.settings.values().retentionDays;
  // This choice overtakes the one that was asked about.
  services_.alerts.dismiss(question_);
  const std::size_t count = expiredEntries(services_.store, chosen, services_.clock.now()).size();
  if (count == 0 || chosen == agreed_) {
    agreed_ = chosen;
    services_.retention.setPolicy(chosen);
    return;
  }
  services_.retention.setPolicy(RetentionPolicy::off);
  RetentionConfirmation words = confirmRetention(count, chosen);
  question_ = services_.alerts.ask(
      {Alert::Style::warning,
       std::move(words.title),
       std::move(words.text),
       {{"Move to Trash"}, {"Cancel", true, true}}},
      alive_.guard([this, chosen](std::size_t button) { answered(chosen, button == 0); }));
}

void RetentionSetting::answered(RetentionPolicy asked, bool isAgreed) {
  // A question that was overtaken by another choice is settled by that one's.
  if (services_.settings.values().retentionDays != asked) return;
  if (isAgreed) {
    agreed_ = asked;
    services_.retention.setPolicy(asked);
  } else {
    services_.settings.set(&SettingsValues::retentionDays, agreed_);
  }
}

}  // namespace vantorel
