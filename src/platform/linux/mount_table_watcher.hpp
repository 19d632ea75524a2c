#pragma once

#include "platform/mount_watcher.hpp"

namespace vantorel {

/// Watches the kernel's table of mounts. Each watch has a thread that waits.
class MountTableWatcher final : public MountWatcher {
 public:
  [[nodiscard]] Result<std::unique_ptr<MountWatch>> watch(std::shared_ptr<TaskRunner> runner,
                                                          std::function<void()> onChange) override;
};

}  // namespace vantorel
