#include "platform/linux/x_authority.hpp"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <string>

#include "base/log.hpp"
#include "platform/linux/file_descriptor.hpp"
#include "platform/linux/remote_mounts.hpp"

namespace vantorel {
namespace {

constexpr const char* variable = "XAUTHORITY";
/// The file's own name, for processes that we start: what is in our memory is not in theirs.
constexpr const char* ownName = "VANTOREL_XAUTHORITY";

constexpr std::uint64_t largestFile = std::uint64_t{1} << 20;

/// Answers how the copy is called here.
Result<std::string> copyInMemory(const std::string& bytes) {
  FileDescriptor copy(::memfd_create("Xauthority", MFD_CLOEXEC));
  if (copy.number() == -1 ||
      ::write(copy.number(), bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) {
    return failed(FailureKind::other, "there is no room for a copy of it");
  }
  return "/proc/self/fd/" + std::to_string(copy.release());
}

}  // namespace

void nameXAuthority() {
  if (const char* const own = std::getenv(ownName); own != nullptr) {
    ::setenv(variable, own, 1);
    ::unsetenv(ownName);
  }
  if (const char* const home = std::getenv("HOME"); home != nullptr) {
    ::setenv(variable, (std::string(home) + "/.Xauthority").c_str(), 0);
  }
}

void keepXAuthority(const Files& files) {
  const char* const name = std::getenv(variable);
  if (name == nullptr) return;
  const std::string path = name;
  if (!remoteMountOnTheWayTo(path)) return;
  const auto bytes = files.read(path, largestFile);
  auto copy = bytes ? copyInMemory(*bytes) : std::unexpected(bytes.error());
  if (!copy && copy.error().kind != FailureKind::notFound) {
    logWarning("Display", "{} could not be read: {}", path, copy.error().reason);
  }
  ::setenv(ownName, path.c_str(), 1);
  ::setenv(variable, copy.value_or("/dev/null").c_str(), 1);
}

}  // namespace vantorel
