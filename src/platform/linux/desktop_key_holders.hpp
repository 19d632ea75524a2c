#pragma once

#include <memory>
#include <vector>

#include "base/lifetime.hpp"
#include "base/task_runner.hpp"
#include "platform/files.hpp"
#include "platform/key_holders.hpp"

namespace vantorel {

/// Asks KDE's and XFCE's services of keys and reads GNOME's settings of them, each where that
/// desktop runs, and openbox's settings, where that is the window manager.
class DesktopKeyHolders final : public KeyHolders {
 public:
  struct Services {
    std::shared_ptr<TaskRunner> main;
    std::shared_ptr<TaskRunner> work;  ///< a serial queue that may block
    std::shared_ptr<Files> files;
    std::vector<Path> configFolders;  ///< the user's before those for all users
  };

  explicit DesktopKeyHolders(Services services) : services_(std::move(services)) {}

  void whoHolds(const HotKeySpec& spec, std::function<void(std::string holder)> known) override;

 private:
  Services services_;
  Lifetime lifetime_;
};

}  // namespace vantorel
