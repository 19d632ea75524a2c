#include "platform/testing/desktop/screen_reader.hpp"

#include <fmt/format.h>
#include <sdbus-c++/sdbus-c++.h>

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <thread>
#include <tuple>

#include "platform/testing/desktop/test_desktop.hpp"

namespace vantorel {
namespace {

constexpr const char* accessible = "org.a11y.atspi.Accessible";
constexpr const char* rootPath = "/org/a11y/atspi/accessible/root";
constexpr auto patience = std::chrono::seconds(20);

using Reference = sdbus::Struct<std::string, sdbus::ObjectPath>;

template <class Value, class... Arguments>
Value ask(sdbus::IConnection& bus, const std::string& service, const std::string& path,
          const char* interface, const char* method, const Arguments&... arguments) {
  const auto object = sdbus::createProxy(bus, service, path);
  Value value{};
  object->callMethod(method)
      .onInterface(interface)
      .withTimeout(patience)
      .withArguments(arguments...)
      .storeResultsTo(value);
  return value;
}

template <class Value>
Value property(sdbus::IConnection& bus, const std::string& service, const std::string& path,
               const char* interface, const char* name) {
  return ask<sdbus::Variant>(bus, service, path, "org.freedesktop.DBus.Properties", "Get",
                             std::string(interface), std::string(name))
      .get<Value>();
}

}  // namespace

ScreenReader::ScreenReader(const TestDesktop& desktop) {
  const auto session = sdbus::createSessionBusConnectionWithAddress(desktop.busAddress());
  // Starts the accessibility bus when it is not there yet.
  const auto address =
      ask<std::string>(*session, "org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress");
  bus_ = sdbus::createSessionBusConnectionWithAddress(address);
  heard_ = sdbus::createSessionBusConnectionWithAddress(address);
  listen();
}

ScreenReader::~ScreenReader() { heard_->leaveEventLoop(); }

void ScreenReader::listen() {
  heard_->addMatch(
      "type='signal',interface='org.a11y.atspi.Event.Object',member='StateChanged'",
      [this](sdbus::Message& message) {
        std::string what;
        std::int32_t isOn = 0;
        message >> what >> isOn;
        if (what != "focused" || isOn == 0) return;
        const std::lock_guard lock(mutex_);
        lastFocus_ = message.getPath();
      },
      sdbus::floating_slot);
  heard_->enterEventLoopAsync();
  // The answer to what was asked here comes after the match is in force.
  (void)ask<std::string>(*heard_, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                         "org.freedesktop.DBus", "GetId");
  sdbus::createProxy(*bus_, "org.a11y.atspi.Registry", "/org/a11y/atspi/registry")
      ->callMethod("RegisterEvent")
      .onInterface("org.a11y.atspi.Registry")
      .withArguments(std::string("object:state-changed:focused"), std::vector<std::string>{},
                     std::string());
}

std::string ScreenReader::serviceOfProgram() {
  const auto applications = ask<std::vector<Reference>>(*bus_, "org.a11y.atspi.Registry", rootPath,
                                                        accessible, "GetChildren");
  for (const Reference& application : applications) {
    const auto& service = std::get<0>(application);
    try {
      const auto pid =
          ask<std::uint32_t>(*bus_, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                             "org.freedesktop.DBus", "GetConnectionUnixProcessID", service);
      if (static_cast<pid_t>(pid) == program_) return service;
    } catch (const sdbus::Error&) {
      continue;  // it has just ended
    }
  }
  return {};
}

void ScreenReader::read(const std::string& path, int depth, std::vector<SpokenControl>& into) {
  SpokenControl control;
  control.path = path;
  control.depth = depth;
  const auto states =
      ask<std::vector<std::uint32_t>>(*bus_, service_, path, accessible, "GetState");
  for (std::size_t i = 0; i < states.size() && i < 2; ++i) {
    control.states |= static_cast<std::uint64_t>(states[i]) << (32 * i);
  }
  if (!control.isShown()) return;
  control.role = ask<std::string>(*bus_, service_, path, accessible, "GetRoleName");
  control.name = property<std::string>(*bus_, service_, path, accessible, "Name");
  control.description = property<std::string>(*bus_, service_, path, accessible, "Description");
  const std::tuple<int, int, int, int> place = ask<sdbus::Struct<int, int, int, int>>(
      *bus_, service_, path, "org.a11y.atspi.Component", "GetExtents", std::uint32_t{0});
  control.area = {std::get<0>(place), std::get<1>(place), std::get<2>(place), std::get<3>(place)};
  into.push_back(std::move(control));
  for (const Reference& child :
       ask<std::vector<Reference>>(*bus_, service_, path, accessible, "GetChildren")) {
    read(std::get<1>(child), depth + 1, into);
  }
}

std::vector<SpokenControl> ScreenReader::controls(const std::string& window) {
  std::vector<SpokenControl> all;
  try {
    service_ = serviceOfProgram();
    if (service_.empty()) return {};
    for (const Reference& one :
         ask<std::vector<Reference>>(*bus_, service_, rootPath, accessible, "GetChildren")) {
      const std::string& path = std::get<1>(one);
      if (property<std::string>(*bus_, service_, path, accessible, "Name") == window) {
        read(path, 0, all);
      }
    }
  } catch (const sdbus::Error& error) {
    // What was there a moment ago went while it was read. A program that hangs is none of these.
    if (error.getName() == "org.freedesktop.DBus.Error.NoReply" ||
        error.getName() == "org.freedesktop.DBus.Error.Timeout") {
      throw;
    }
    return {};
  }
  return all;
}

std::vector<SpokenControl> ScreenReader::waitUntil(
    const std::string& window, const std::string& what,
    const std::function<bool(const std::vector<SpokenControl>&)>& condition) {
  const auto end = std::chrono::steady_clock::now() + patience;
  while (true) {
    auto all = controls(window);
    if (condition(all)) return all;
    if (std::chrono::steady_clock::now() > end) {
      throw std::runtime_error(
          fmt::format("{} did not come in \"{}\", which shows\n{}", what, window, describe(all)));
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
}

SpokenControl ScreenReader::find(const std::string& window, const std::string& what,
                                 const Wanted& wanted) {
  SpokenControl found;
  (void)waitUntil(window, what, [&](const std::vector<SpokenControl>& all) {
    const auto at = std::find_if(all.begin(), all.end(), wanted);
    if (at == all.end()) return false;
    found = *at;
    return true;
  });
  return found;
}

SpokenControl ScreenReader::find(const std::string& window, const std::string& role,
                                 const std::string& name) {
  return find(window, fmt::format("the {} \"{}\"", role, name), [&](const SpokenControl& control) {
    return control.role == role && control.name == name;
  });
}

SpokenControl ScreenReader::findInMenu(const std::string& name) {
  const auto end = std::chrono::steady_clock::now() + patience;
  std::vector<SpokenControl> items;
  while (std::chrono::steady_clock::now() < end) {
    std::string focus;
    {
      const std::lock_guard lock(mutex_);
      focus = lastFocus_;
    }
    items.clear();
    try {
      service_ = serviceOfProgram();
      const auto menu = property<Reference>(*bus_, service_, focus, accessible, "Parent");
      read(std::get<1>(menu), 0, items);
    } catch (const sdbus::Error&) {
      items.clear();  // nothing told yet, or it went
    }
    const auto at = std::ranges::find(items, name, &SpokenControl::name);
    if (at != items.end()) return *at;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  throw std::runtime_error(
      fmt::format("\"{}\" is not in the menu, which shows\n{}", name, describe(items)));
}

std::string ScreenReader::focusAfter(const std::string& before) {
  const auto end = std::chrono::steady_clock::now() + patience;
  while (std::chrono::steady_clock::now() < end) {
    {
      const std::lock_guard lock(mutex_);
      if (!lastFocus_.empty() && lastFocus_ != before) return lastFocus_;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  throw std::runtime_error(fmt::format("the focus stays at {}", before));
}

void ScreenReader::waitUntilGone(const std::string& window) {
  (void)waitUntil(window, "its end", [](const auto& all) { return all.empty(); });
}

std::string ScreenReader::textOf(const SpokenControl& control) {
  return ask<std::string>(*bus_, service_, control.path, "org.a11y.atspi.Text", "GetText", 0, -1);
}

std::string ScreenReader::describe(const std::vector<SpokenControl>& controls) {
  std::string text;
  for (const SpokenControl& one : controls) {
    text +=
        fmt::format("{:>{}}{} \"{}\" [{}] {},{} {}x{}{}{}{}{}{}{}\n", "", one.depth * 2, one.role,
                    one.name, one.description, one.area.x, one.area.y, one.area.width,
                    one.area.height, one.isActive() ? " active" : "", one.isEnabled() ? "" : " off",
                    one.canTakeFocus() ? " focusable" : "", one.isFocused() ? " focused" : "",
                    one.isSelected() ? " selected" : "", one.isChecked() ? " checked" : "");
  }
  return text;
}

}  // namespace vantorel
