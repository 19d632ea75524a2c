#include "platform/linux/desktop_notifications.hpp"

#include <sdbus-c++/sdbus-c++.h>

#include <map>
#include <string_view>
#include <vector>

#include "base/log.hpp"
#include "base/utf8.hpp"

namespace vantorel {
namespace {

constexpr std::chrono::seconds longestWait{2};
constexpr const char* notificationInterface = "org.freedesktop.Notifications";

/// Whether there is one, and it did what it was asked for.
template <class Call>
bool withService(Call call) {
  try {
    const auto connection = sdbus::createSessionBusConnection();
    call(*sdbus::createProxy(*connection, notificationInterface, "/org/freedesktop/Notifications"));
    return true;
  } catch (const sdbus::Error& error) {
    logInfo("Notification", "nobody shows it: {}", error.what());
    return false;
  }
}

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

void DesktopNotifications::notify(std::string title, std::string body,
                                  std::function<void(bool)> done) {
  logInfo("Notification", "{}: {}", title, body);
  // What is said may name a file whose name is no text; the bus takes nothing else.
  title = repairedUtf8(title);
  body = repairedUtf8(body);
  queue_->post([title = std::move(title), body = std::move(body), done = std::move(done),
                numbers = numbers_] {
    const bool isTaken = withService([&](sdbus::IProxy& service) {
      std::uint32_t& number = (*numbers)[title];
      service.callMethod("Notify")
          .onInterface(notificationInterface)
          .withTimeout(longestWait)
          .withArguments(std::string("Vantorel"), number, std::string("com.hollen.Vantorel"), title,
                         escaped(body), std::vector<std::string>{},
                         std::map<std::string, sdbus::Variant>{
                             {"desktop-entry", sdbus::Variant(std::string("com.hollen.Vantorel"))}},
                         std::int32_t{-1})
          .storeResultsTo(number);
    });
    if (done) done(isTaken);
  });
}

void DesktopNotifications::withdraw(std::string title) {
  queue_->post([title = std::move(title), numbers = numbers_] {
    const auto shown = numbers->extract(title);
    if (shown.empty()) return;
    (void)withService([&](sdbus::IProxy& service) {
      service.callMethod("CloseNotification")
          .onInterface(notificationInterface)
          .withTimeout(longestWait)
          .withArguments(shown.mapped());
    });
  });
}

}  // namespace vantorel
