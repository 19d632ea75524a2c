#include "platform/linux/desktop_notifications.hpp"

#include <sdbus-c++/sdbus-c++.h>

#include <map>
#include <string_view>
#include <vector>

#include "base/log.hpp"

namespace vantorel {
namespace {

constexpr std::chrono::seconds longestWait{2};

/// The body may be read as markup.
std::string escaped(std::string_view text) {
  std::string out;
  for (const char c : text) {
    switch (c) {
      case '&': out += "&amp;"; break;
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      default: out += c;
    }
  }
  return out;
}

}  // namespace

void DesktopNotifications::notify(std::string title, std::string body) {
  logInfo("Notification", "{}: {}", title, body);
  queue_->post([title = std::move(title), body = std::move(body)] {
    try {
      const auto connection = sdbus::createSessionBusConnection();
      const auto service = sdbus::createProxy(*connection, "org.freedesktop.Notifications",
                                              "/org/freedesktop/Notifications");
      std::uint32_t id = 0;
      service->callMethod("Notify")
          .onInterface("org.freedesktop.Notifications")
          .withTimeout(longestWait)
          .withArguments(std::string("Vantorel"), std::uint32_t{0},
                         std::string("com.hollen.Vantorel"), title, escaped(body),
                         std::vector<std::string>{},
                         std::map<std::string, sdbus::Variant>{
                             {"desktop-entry", sdbus::Variant(std::string("com.hollen.Vantorel"))}},
                         std::int32_t{-1})
          .storeResultsTo(id);
    } catch (const sdbus::Error& error) {
      logInfo("Notification", "nobody shows it: {}", error.what());
    }
  });
}

}  // namespace vantorel
