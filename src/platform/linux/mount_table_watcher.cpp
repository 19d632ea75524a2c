#include "platform/linux/mount_table_watcher.hpp"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <thread>
#include <utility>

#include "platform/linux/file_descriptor.hpp"
#include "platform/linux/system_error.hpp"

namespace vantorel {
namespace {

class Watch final : public MountWatch {
 public:
  Watch(FileDescriptor table, FileDescriptor stop, std::shared_ptr<TaskRunner> runner,
        std::function<void()> onChange)
      : onChange_(std::make_shared<std::function<void()>>(std::move(onChange))),
        table_(std::move(table)),
        stop_(std::move(stop)),
        thread_([table = table_.number(), stop = stop_.number(), runner = std::move(runner),
                 weak = std::weak_ptr(onChange_)] {
          while (true) {
            // The kernel says so once for each reader whose table is out of date.
            std::array<pollfd, 2> waits{{{table, POLLPRI, 0}, {stop, POLLIN, 0}}};
            if (::poll(waits.data(), waits.size(), -1) == -1) {
              if (errno == EINTR) continue;
              return;
            }
            if (waits[1].revents != 0) return;
            runner->post([weak] {
              if (const auto lifetime = weak.lock()) (*lifetime)();
            });
          }
        }) {}

  ~Watch() override {
    const std::uint64_t one = 1;
    while (::write(stop_.number(), &one, sizeof one) == -1 && errno == EINTR) {
    }
  }

 private:
  std::shared_ptr<std::function<void()>> onChange_;
  FileDescriptor table_;
  FileDescriptor stop_;
  std::jthread thread_;
};

}  // namespace

Result<std::unique_ptr<MountWatch>> MountTableWatcher::watch(std::shared_ptr<TaskRunner> runner,
                                                             std::function<void()> onChange) {
  FileDescriptor table(::open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC));
  if (!table.isOpen()) return lastSystemFailure();
  FileDescriptor stop(::eventfd(0, EFD_CLOEXEC));
  if (!stop.isOpen()) return lastSystemFailure();
  return std::make_unique<Watch>(std::move(table), std::move(stop), std::move(runner),
                                 std::move(onChange));
}

}  // namespace vantorel
