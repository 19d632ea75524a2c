#include "platform/linux/x11_hot_keys.hpp"

#include "platform/linux/x11_key_grabs.hpp"
#include "platform/linux/x11_worker.hpp"

namespace vantorel {

/// The main runner's side: what to call for which grab. Registrations keep it alive.
struct X11HotKeys::Shared {
  struct Actions {
    std::function<void()> onFire;
    std::function<void()> onRelease;
    std::function<void(State)> onState;
  };

  std::shared_ptr<TaskRunner> main;
  std::uint64_t lastID = 0;
  std::map<std::uint64_t, Actions> actions;
  std::unique_ptr<X11Worker> worker;

  void perform(std::uint64_t id, std::function<void()> Actions::* which) {
    const auto found = actions.find(id);
    if (found == actions.end()) return;
    // A copy: the action may give the registration up.
    if (const auto action = found->second.*which) action();
  }

  void state(std::uint64_t id, const State& state) {
    const auto found = actions.find(id);
    if (found == actions.end()) return;
    if (const auto onState = found->second.onState) onState(state);
  }
};

class X11HotKeys::Registration final : public HotKeyRegistration {
 public:
  Registration(std::shared_ptr<Shared> shared, std::uint64_t id)
      : shared_(std::move(shared)), id_(id) {}

  ~Registration() override {
    shared_->actions.erase(id_);
    if (!shared_->worker) return;
    shared_->worker->post([id = id_](Result<X11Client*> client) {
      if (client) static_cast<X11KeyGrabs&>(**client).ungrab(id);
    });
  }

 private:
  std::shared_ptr<Shared> shared_;
  std::uint64_t id_;
};

X11HotKeys::X11HotKeys(const std::string& display, const std::shared_ptr<TaskRunner>& main)
    : shared_(std::make_shared<Shared>()) {
  shared_->main = main;
  const auto notify = [main, weak = std::weak_ptr<Shared>(shared_)](
                          std::function<void()> Shared::Actions::* which) {
    return [main, weak, which](std::uint64_t id) {
      main->post([weak, which, id] {
        if (const auto shared = weak.lock()) shared->perform(id, which);
      });
    };
  };
  const X11KeyGrabs::Listener listener{
      notify(&Shared::Actions::onFire), notify(&Shared::Actions::onRelease),
      [main, weak = std::weak_ptr<Shared>(shared_)](std::uint64_t id, State state) {
        main->post([weak, id, state] {
          if (const auto shared = weak.lock()) shared->state(id, state);
        });
      },
      [this, main, weak = std::weak_ptr<Shared>(shared_)] {
        main->post([this, weak] {
          const auto shared = weak.lock();
          if (shared && shared->worker && onKeyboardChange) onKeyboardChange();
        });
      }};
  shared_->worker = std::make_unique<X11Worker>(
      display,
      [listener](xcb_connection_t* connection, int screen) -> Result<std::unique_ptr<X11Client>> {
        return std::make_unique<X11KeyGrabs>(connection, screen, listener);
      });
}

X11HotKeys::~X11HotKeys() {
  shared_->actions.clear();
  shared_->worker.reset();
}

std::unique_ptr<HotKeyRegistration> X11HotKeys::registerKey(const HotKeySpec& spec,
                                                            std::function<void()> onFire,
                                                            std::function<void()> onRelease,
                                                            std::function<void(State)> onState) {
  const std::uint64_t id = ++shared_->lastID;
  shared_->actions[id] = {std::move(onFire), std::move(onRelease), std::move(onState)};
  shared_->worker->post([id, spec, main = shared_->main,
                         weak = std::weak_ptr(shared_)](const Result<X11Client*>& client) {
    const State state = client ? static_cast<X11KeyGrabs&>(**client).grab(id, spec)
                               : State(std::unexpected(HotKeyError{}));
    main->post([weak, id, state] {
      if (const auto shared = weak.lock()) shared->state(id, state);
    });
  });
  return std::make_unique<Registration>(shared_, id);
}

}  // namespace vantorel
