#include "app/retention_setting.hpp"

#include <fmt/format.h>

#include <utility>

namespace vantorel {
namespace {

constexpr const char* agreeButton = "Move to Trash";
constexpr const char* refuseButton = "Cancel";

}  // namespace

void RetentionSetting::follow() {
  isFollowed_ = true;
  services_.retention.onQuestion =
      lifetime_.guard([this](std::size_t count, RetentionPolicy policy) { ask(count, policy); });
  services_.retention.setPolicy(services_.settings.values().retentionDays);
  observation_ = services_.settings.observe(&SettingsValues::retentionDays, [this] {
    // This choice overtakes the one that was asked about.
    services_.alerts.dismiss(question_);
    isChoosing_ = true;
    services_.retention.setPolicy(services_.settings.values().retentionDays);
    isChoosing_ = false;
  });
}

std::string RetentionSetting::remark() const {
  if (services_.settings.values().retentionDays == RetentionPolicy::off) return {};
  if (!isFollowed_) {
    return "Captures go by age only while Vantorel is in the tray; there it asks first.";
  }
  if (!services_.retention.isAsking()) return {};
  return fmt::format(
      "No captures go until the question on the screen is answered with “{}”; “{}” takes the "
      "setting back.",
      agreeButton, refuseButton);
}

void RetentionSetting::ask(std::size_t count, RetentionPolicy policy) {
  RetentionConfirmation words = confirmRetention(count, policy);
  question_ = services_.alerts.ask(
      {Alert::Style::warning,
       std::move(words.title),
       std::move(words.text),
       {{agreeButton}, {refuseButton, true, true}},
       isChoosing_},
      lifetime_.guard([this, policy](std::size_t button) { answered(policy, button == 0); }));
  observers_.notify();
}

void RetentionSetting::answered(RetentionPolicy asked, bool isAgreed) {
  // A question that was overtaken by another choice is settled by that one's.
  if (services_.settings.values().retentionDays != asked) return;
  services_.retention.answer(asked, isAgreed);
  const RetentionPolicy agreed = services_.retention.agreed();
  if (!isAgreed && agreed != asked) {
    services_.settings.set(&SettingsValues::retentionDays, agreed);
  }
  observers_.notify();
}

}  // namespace vantorel
