#include "platform/linux/desktop_notifications.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sdbus-c++/sdbus-c++.h>

#include <future>
#include <mutex>

#include "platform/linux/serial_queues.hpp"
#include "platform/testing/desktop/test_desktop.hpp"

namespace vantorel {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

/// What a notification service was told, as "title: body". It answers only when told to.
class NotificationService {
 public:
  explicit NotificationService(bool answers) {
    object_->registerMethod("Notify")
        .onInterface("org.freedesktop.Notifications")
        .implementedAs([this, answers](sdbus::Result<std::uint32_t>&& reply, const std::string&,
                                       std::uint32_t replaced, const std::string&,
                                       const std::string& title, const std::string& body,
                                       const std::vector<std::string>&,
                                       const std::map<std::string, sdbus::Variant>&, std::int32_t) {
          const std::lock_guard lock(mutex_);
          if (replaced != 0) shown_.push_back("instead of " + std::to_string(replaced));
          shown_.push_back(title + ": " + body);
          if (answers) reply.returnResults(replaced != 0 ? replaced : ++last_);
        });
    object_->registerMethod("CloseNotification")
        .onInterface("org.freedesktop.Notifications")
        .implementedAs([this](std::uint32_t closed) {
          const std::lock_guard lock(mutex_);
          shown_.push_back("closed " + std::to_string(closed));
        });
    object_->finishRegistration();
    connection_->requestName("org.freedesktop.Notifications");
    connection_->enterEventLoopAsync();
  }

  [[nodiscard]] std::vector<std::string> shown() {
    const std::lock_guard lock(mutex_);
    return shown_;
  }

 private:
  std::mutex mutex_;
  std::vector<std::string> shown_;
  std::uint32_t last_ = 0;
  std::unique_ptr<sdbus::IConnection> connection_ = sdbus::createSessionBusConnection();
  std::unique_ptr<sdbus::IObject> object_ =
      sdbus::createObject(*connection_, "/org/freedesktop/Notifications");
};

struct DesktopNotificationsTest : testing::Test {
  SerialQueues queues;
  std::shared_ptr<TaskRunner> queue = queues.queue("notifications");
  DesktopNotifications notifications{queue};

  /// True when everything sent so far has come to its end.
  bool isDone() {
    auto end = std::make_shared<std::promise<void>>();
    auto ended = end->get_future();
    queue->post([end] { end->set_value(); });
    return ended.wait_for(10s) == std::future_status::ready;
  }
};

TEST_F(DesktopNotificationsTest, TheServiceGetsTheWordsWithMarkupTakenOut) {
  TestDesktop desktop({.screen = std::nullopt, .bus = true});
  desktop.enter();
  NotificationService service(true);
  notifications.notify("Saved", "a <b> & c");
  ASSERT_TRUE(isDone());
  EXPECT_THAT(service.shown(), ElementsAre("Saved: a &lt;b&gt; &amp; c"));
}

TEST_F(DesktopNotificationsTest, OneOfEachTitleIsUp) {
  TestDesktop desktop({.screen = std::nullopt, .bus = true});
  desktop.enter();
  NotificationService service(true);
  notifications.withdraw("Settings");
  notifications.notify("Settings", "damaged");
  notifications.notify("Keys", "held");
  notifications.notify("Settings", "put aside");
  notifications.withdraw("Settings");
  notifications.withdraw("Settings");
  notifications.notify("Settings", "damaged again");
  ASSERT_TRUE(isDone());
  EXPECT_THAT(service.shown(),
              ElementsAre("Settings: damaged", "Keys: held", "instead of 1", "Settings: put aside",
                          "closed 1", "Settings: damaged again"));
}

TEST_F(DesktopNotificationsTest, NobodyIsHeldWhereNoServiceAnswers) {
  {
    TestDesktop withoutBus({.screen = std::nullopt});
    withoutBus.enter();
    notifications.notify("No bus", "is reachable");
    ASSERT_TRUE(isDone());
  }
  TestDesktop desktop({.screen = std::nullopt, .bus = true});
  desktop.enter();
  notifications.notify("A bus", "without a service");
  ASSERT_TRUE(isDone());
  NotificationService silent(false);
  notifications.notify("Silent", "for ever");
  ASSERT_TRUE(isDone()) << "a service that never answers is waited for without end";
  EXPECT_THAT(silent.shown(), ElementsAre("Silent: for ever"));
}

}  // namespace
}  // namespace vantorel
