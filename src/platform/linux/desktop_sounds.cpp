#include "platform/linux/desktop_sounds.hpp"

#include <dlfcn.h>

#include "base/log.hpp"

namespace vantorel {
namespace {

/// What is needed of libcanberra (its interface is fixed by its name, "so.0"): loaded at the first
/// sound, and none the worse for missing.
class Canberra {
 public:
  Canberra() {
    void* const library = ::dlopen("libcanberra.so.0", RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) return;
    const auto find = [&](const char* name) { return ::dlsym(library, name); };
    const auto create = reinterpret_cast<int (*)(void**)>(find("ca_context_create"));
    const auto setDriver =
        reinterpret_cast<int (*)(void*, const char*)>(find("ca_context_set_driver"));
    play_ = reinterpret_cast<Play>(find("ca_context_play"));
    // The sound server alone: where there is none, the device driver would complain on the
    // terminal.
    if (create == nullptr || setDriver == nullptr || create(&context_) != 0 ||
        setDriver(context_, "pulse") != 0) {
      play_ = nullptr;
    }
  }

  /// 0 when it plays.
  int play(const std::string& name) {
    if (play_ == nullptr) return -1;
    return play_(context_, 0, "event.id", name.c_str(), "media.role", "event", "application.name",
                 "Vantorel", nullptr);
  }

 private:
  using Play = int (*)(void* context, std::uint32_t id, ...);

  void* context_ = nullptr;
  Play play_ = nullptr;
};

}  // namespace

void DesktopSounds::play(std::string name) {
  queue_->post([name = std::move(name)] {
    static Canberra canberra;
    if (const int status = canberra.play(name); status != 0) {
      logInfo("Sound", "{} is not heard ({})", name, status);
    }
  });
}

}  // namespace vantorel
