#include "app/autostart_switch.hpp"

#include <fmt/format.h>

#include <utility>

#include "base/round_trip.hpp"

namespace vantorel {

void AutostartSwitch::refresh() {
  roundTrip(
      *services_.work, services_.main,
      [autostart = services_.autostart] { return autostart->isOn(); },
      lifetime_.guard([this](bool isOn) { show(isOn, problem_); }));
}

void AutostartSwitch::set(bool on) {
  lifetime_.renew();  // what an earlier look finds is old by now
  show(on, {});
  struct Outcome {
    bool isOn = false;
    std::string problem;
  };
  roundTrip(
      *services_.work, services_.main,
      [autostart = services_.autostart, on] {
        Outcome outcome;
        if (const auto changed = autostart->set(on); !changed) {
          outcome.problem = fmt::format("Starting with the session could not be switched {}: {}.",
                                        on ? "on" : "off", changed.error().reason);
        }
        outcome.isOn = autostart->isOn();
        return outcome;
      },
      lifetime_.guard([this](Outcome outcome) { show(outcome.isOn, std::move(outcome.problem)); }));
}

void AutostartSwitch::show(bool isOn, std::string problem) {
  if (isOn_ == isOn && problem_ == problem) return;
  isOn_ = isOn;
  problem_ = std::move(problem);
  observers_.notify();
}

}  // namespace vantorel
