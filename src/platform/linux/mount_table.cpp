#include "platform/linux/mount_table.hpp"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <mutex>
#include <system_error>

#include "platform/linux/file_descriptor.hpp"

namespace vantorel {
namespace {

std::vector<std::string_view> fieldsOf(std::string_view line) {
  std::vector<std::string_view> fields;
  while (!line.empty()) {
    const std::size_t space = std::min(line.find(' '), line.size());
    fields.push_back(line.substr(0, space));
    line.remove_prefix(std::min(space + 1, line.size()));
  }
  return fields;
}

/// The kernel writes spaces, tabs, line ends and backslashes as octal numbers.
std::string unescaped(std::string_view field) {
  std::string text;
  for (std::size_t at = 0; at < field.size(); ++at) {
    unsigned code = 0;
    const bool isEscape =
        field[at] == '\\' && at + 3 < field.size() &&
        std::from_chars(&field[at + 1], &field[at] + 4, code, 8).ptr == &field[at] + 4;
    text += isEscape ? static_cast<char>(code) : field[at];
    if (isEscape) at += 3;
  }
  return text;
}

template <class Number>
std::optional<Number> numberIn(std::string_view text) {
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

std::optional<MountEntry> mountIn(std::string_view line) {
  const auto fields = fieldsOf(line);
  const auto separator = std::ranges::find(fields, std::string_view("-"));
  if (fields.size() < 7 || fields.end() - separator < 3) return std::nullopt;
  const auto id = numberIn<unsigned long long>(fields[0]);
  if (!id) return std::nullopt;
  const std::string_view device = fields[2];
  const std::size_t colon = std::min(device.find(':'), device.size() - 1);
  return MountEntry{.id = *id,
                    .deviceMajor = numberIn<unsigned>(device.substr(0, colon)).value_or(0),
                    .deviceMinor = numberIn<unsigned>(device.substr(colon + 1)).value_or(0),
                    .root = unescaped(fields[3]),
                    .mountPoint = unescaped(fields[4]),
                    .type = unescaped(separator[1]),
                    .source = unescaped(separator[2])};
}

/// Reads the table again only when the kernel says that it has changed.
class MountTable {
 public:
  MountTable() : file_(::open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC)) {}

  std::shared_ptr<const std::vector<MountEntry>> now() {
    const std::scoped_lock lock(mutex_);
    pollfd changed{file_.number(), POLLPRI, 0};
    if (::poll(&changed, 1, 0) == 1 || !mounts_) {
      mounts_ = std::make_shared<const std::vector<MountEntry>>(mountsIn(text()));
    }
    return mounts_;
  }

 private:
  [[nodiscard]] std::string text() const {
    std::string text;
    std::array<char, 16384> piece{};
    (void)::lseek(file_.number(), 0, SEEK_SET);
    for (ssize_t got = 0; (got = ::read(file_.number(), piece.data(), piece.size())) > 0;) {
      text.append(piece.data(), static_cast<std::size_t>(got));
    }
    return text;
  }

  std::mutex mutex_;
  FileDescriptor file_;
  std::shared_ptr<const std::vector<MountEntry>> mounts_;
};

}  // namespace

std::vector<MountEntry> mountsIn(std::string_view table) {
  std::vector<MountEntry> mounts;
  while (!table.empty()) {
    const std::size_t end = std::min(table.find('\n'), table.size());
    if (auto mount = mountIn(table.substr(0, end))) mounts.push_back(*std::move(mount));
    table.remove_prefix(std::min(end + 1, table.size()));
  }
  return mounts;
}

std::shared_ptr<const std::vector<MountEntry>> mountsNow() {
  static MountTable table;
  return table.now();
}

std::optional<MountEntry> findMount(const std::vector<MountEntry>& mounts, unsigned long long id) {
  const auto found = std::ranges::find(mounts, id, &MountEntry::id);
  return found == mounts.end() ? std::nullopt : std::optional(*found);
}

const MountEntry* mountOf(const std::vector<MountEntry>& mounts, const Path& path) {
  const std::string& place = path.native();
  const MountEntry* nearest = nullptr;
  for (const MountEntry& mount : mounts) {
    const std::string& point = mount.mountPoint;
    const bool isAbove =
        place.starts_with(point) &&
        (point.ends_with('/') || place.size() == point.size() || place[point.size()] == '/');
    if (!isAbove) continue;
    if (nearest == nullptr || point.size() >= nearest->mountPoint.size()) nearest = &mount;
  }
  return nearest;
}

}  // namespace vantorel
