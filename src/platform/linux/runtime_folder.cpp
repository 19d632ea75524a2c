#include "platform/linux/runtime_folder.hpp"

#include <cstdlib>
#include <string>
#include <string_view>

#include "base/log.hpp"
#include "platform/linux/remote_mounts.hpp"

namespace vantorel {
namespace {

constexpr const char* folderVariable = "XDG_RUNTIME_DIR";
constexpr const char* busVariable = "DBUS_SESSION_BUS_ADDRESS";

std::string valueOf(const char* variable) {
  const char* const value = std::getenv(variable);
  return value == nullptr ? "" : value;
}

/// Where the bus's socket lies; empty when it has no path.
std::string socketPath(const std::string& folder) {
  constexpr std::string_view key = "unix:path=";
  const std::string address = valueOf(busVariable);
  if (address.empty() && !folder.empty()) return folder + "/bus";
  if (!address.starts_with(key)) return {};
  return address.substr(key.size(), address.find_first_of(",;") - key.size());
}

bool isSilent(const Files& files, const std::string& path) {
  if (path.empty() || !remoteMountOnTheWayTo(path)) return false;
  const auto status = files.status(path);
  return !status && status.error().kind == FailureKind::unreachable;
}

}  // namespace

void leaveSilentRuntimeFolder(const Files& files) {
  const std::string folder = valueOf(folderVariable);
  const bool isFolderSilent = isSilent(files, folder);
  if (isFolderSilent) {
    logWarning("Files", "{} is not used, for its disk does not answer", folder);
    ::unsetenv(folderVariable);
  }
  const std::string socket = socketPath(folder);
  if ((isFolderSilent && socket.starts_with(folder + "/")) || isSilent(files, socket)) {
    logWarning("Bus", "the session bus is not used, for the disk of {} does not answer", socket);
    // One at which there is none: without an address they would look for another bus.
    ::setenv(busVariable, "unix:path=/dev/null/bus", 1);
  }
}

}  // namespace vantorel
