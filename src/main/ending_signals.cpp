#include "main/ending_signals.hpp"

#include <csignal>
#include <cstdlib>
#include <mutex>
#include <thread>
#include <utility>

namespace vantorel {

struct EndingSignals::State {
  std::mutex mutex;
  std::function<void()> cancel;    // while another process may work
  std::function<void(int)> asked;  // while this one does
  int count = 0;

  void came(int signal) {
    const std::lock_guard lock(mutex);
    ++count;
    const int most = asked ? 2 : cancel && signal == SIGINT ? 1 : 0;
    if (count > most) std::_Exit(128 + signal);
    asked ? asked(signal) : cancel();
  }
};

EndingSignals::EndingSignals(std::function<void()> cancel) : state_(std::make_shared<State>()) {
  state_->cancel = std::move(cancel);
  sigset_t signals;
  sigemptyset(&signals);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction before{};
    sigaction(signal, nullptr, &before);
    if (before.sa_handler != SIG_IGN) sigaddset(&signals, signal);
  }
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  std::thread([state = state_, signals] {
    int signal = 0;
    while (sigwait(&signals, &signal) == 0) state->came(signal);
  }).detach();
}

EndingSignals::~EndingSignals() {
  const std::lock_guard lock(state_->mutex);
  state_->cancel = nullptr;
  state_->asked = nullptr;
}

void EndingSignals::work(std::function<void(int)> asked) {
  const std::lock_guard lock(state_->mutex);
  state_->asked = std::move(asked);
  if (state_->count > 0) state_->asked(SIGINT);
}

}  // namespace vantorel
