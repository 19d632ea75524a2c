#include "app/retention_setting.hpp"

#include <utility>

namespace vantorel {

void RetentionSetting::follow() {
  services_.retention.onQuestion =
      alive_.guard([this](std::size_t count, RetentionPolicy policy) { ask(count, policy); });
  services_.retention.setPolicy(services_.settings.values().retentionDays);
  observation_ = services_.settings.observe([this](std::string_view key) {
    if (key != "retentionDays") return;
    // This choice overtakes the one that was asked about.
    services_.alerts.dismiss(question_);
    services_.retention.setPolicy(services_.settings.values().retentionDays);
  });
}

void RetentionSetting::ask(std::size_t count, RetentionPolicy policy) {
  RetentionConfirmation words = confirmRetention(count, policy);
  question_ = services_.alerts.ask(
      {Alert::Style::warning,
       std::move(words.title),
       std::move(words.text),
       {{"Move to Trash"}, {"Cancel", true, true}},
       false},
      alive_.guard([this, policy](std::size_t button) { answered(policy, button == 0); }));
}

void RetentionSetting::answered(RetentionPolicy asked, bool isAgreed) {
  // A question that was overtaken by another choice is settled by that one's.
  if (services_.settings.values().retentionDays != asked) return;
  services_.retention.answer(asked, isAgreed);
  const RetentionPolicy agreed = services_.retention.agreed();
  if (!isAgreed && agreed != asked) {
    services_.settings.set(&SettingsValues::retentionDays, agreed);
  }
}

}  // namespace vantorel
