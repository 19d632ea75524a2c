#include "platform/linux/x11_surroundings.hpp"

#include <fmt/format.h>

#include <optional>
#include <utility>

#include "platform/linux/x11_call.hpp"
#include "platform/linux/x11_raw_presses.hpp"
#include "platform/linux/x11_settings_source.hpp"

namespace vantorel {
namespace {

// Buttons that are none: up, down, left and right of the wheel.
constexpr std::uint32_t firstWheel = 4;
constexpr std::uint32_t lastWheel = 7;

struct Listener {
  std::function<void(DesktopLook)> looks;
  std::function<void(WindowID)> pressed;
};

/// On the worker's thread.
class Watch final : public X11Client {
 public:
  Watch(xcb_connection_t* connection, int screenNumber, Listener listener)
      : c_(connection), listener_(std::move(listener)), presses_(connection) {
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(c_));
    for (int i = 0; i < screenNumber && screens.rem > 1; ++i) xcb_screen_next(&screens);
    root_ = screens.data->root;
    settings_.emplace(c_, atom(fmt::format("_XSETTINGS_S{}", screenNumber)),
                      atom("_XSETTINGS_SETTINGS"));
  }

  void followLook() {
    if (followsLook_) return;
    followsLook_ = true;
    const std::uint32_t events[] = {XCB_EVENT_MASK_STRUCTURE_NOTIFY};
    xcb_change_window_attributes(c_, root_, XCB_CW_EVENT_MASK, events);
    readLook();
  }

  /// Whoever listens counts.
  void listenToPresses(int more) {
    const bool listened = listeners_ > 0;
    listeners_ += more;
    if (const bool listens = listeners_ > 0; listens != listened) presses_.listen(listens);
  }

  void handle(const xcb_generic_event_t& event) override {
    if (followsLook_ && settings_->isChange(event)) lookIsStale_ = true;
    const auto button = presses_.buttonOf(event);
    if (!button || (*button >= firstWheel && *button <= lastWheel)) return;
    const auto pointer = xReply<xcb_query_pointer_reply>(c_, xcb_query_pointer(c_, root_));
    if (pointer) listener_.pressed(pointer->child);
  }

  void eventsHandled() override {
    if (std::exchange(lookIsStale_, false)) readLook();
  }

 private:
  [[nodiscard]] xcb_atom_t atom(std::string_view name) const {
    const auto reply = xReply<xcb_intern_atom_reply>(
        c_, xcb_intern_atom(c_, 0, static_cast<std::uint16_t>(name.size()), name.data()));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
  }

  void readLook() {
    DesktopLook now = lookOf(settings_->follow());
    if (now == look_) return;
    look_ = now;
    listener_.looks(std::move(now));
  }

  xcb_connection_t* c_;
  xcb_window_t root_ = 0;
  Listener listener_;
  X11RawPresses presses_;
  std::optional<X11SettingsSource> settings_;
  std::optional<DesktopLook> look_;
  bool followsLook_ = false;
  bool lookIsStale_ = false;
  int listeners_ = 0;
};

void listenToPresses(X11Worker& worker, int more) {
  worker.post([more](Result<X11Client*> client) {
    if (client) static_cast<Watch&>(**client).listenToPresses(more);
  });
}

}  // namespace

X11Surroundings::X11Surroundings(std::string display, const std::shared_ptr<TaskRunner>& main) {
  const Listener listener{
      .looks =
          [main, notify = lifetime_.guard([this](const DesktopLook& look) { look_.notify(look); })](
              DesktopLook look) {
            main->post([notify, look = std::move(look)]() mutable { notify(look); });
          },
      .pressed = [main, notify = lifetime_.guard([this](WindowID window) {
        presses_.notify(window);
      })](WindowID window) { main->post([notify, window]() mutable { notify(window); }); }};
  worker_ = std::make_shared<X11Worker>(
      std::move(display),
      [listener](xcb_connection_t* connection,
                 int screenNumber) -> Result<std::unique_ptr<X11Client>> {
        return std::make_unique<Watch>(connection, screenNumber, listener);
      });
}

Observation X11Surroundings::observeLook(std::function<void(const DesktopLook&)> changed) {
  Observation observation = look_.add(std::move(changed));
  worker_->post([](Result<X11Client*> client) {
    if (client) static_cast<Watch&>(**client).followLook();
  });
  return observation;
}

Observation X11Surroundings::observePresses(std::function<void(WindowID)> pressed) {
  struct Listening {
    Listening(Observation heard, const std::shared_ptr<X11Worker>& from)
        : observation(std::move(heard)), worker(from) {
      listenToPresses(*from, 1);
    }
    Listening(const Listening&) = delete;
    Listening& operator=(const Listening&) = delete;
    ~Listening() {
      if (const auto still = worker.lock()) listenToPresses(*still, -1);
    }

    Observation observation;
    std::weak_ptr<X11Worker> worker;
  };
  return Observation(std::make_shared<Listening>(presses_.add(std::move(pressed)), worker_));
}

}  // namespace vantorel
