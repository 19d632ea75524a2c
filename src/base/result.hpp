#pragma once

#include <expected>
#include <string>
#include <utility>

namespace vantorel {

/// What a caller may want to branch on when a lower layer fails.
enum class FailureKind {
  notFound,     ///< the thing named does not exist
  exists,       ///< something of that name is there already
  denied,       ///< the user or the system does not allow it
  noSpace,      ///< the disk (or a quota) is full
  readOnly,     ///< the file system cannot be written
  unreachable,  ///< a service, display or folder does not answer
  timedOut,     ///< no answer within the bound
  cancelled,    ///< the user or a newer request called it off
  unsupported,  ///< this system cannot do it at all
  tooLarge,     ///< beyond a limit of the format or of this program
  malformed,    ///< outside bytes that make no sense
  busy,         ///< somebody else holds it now
  other,
};

/// Why a lower layer could not do something. `reason` is a plain clause for people, without a
/// capital letter or a full stop, so that it can stand behind a colon.
struct Failure {
  FailureKind kind = FailureKind::other;
  std::string reason;
};

/// The answer of an operation that may fail. The error must be looked at; nothing is thrown.
template <class Value, class Error = Failure>
using Result = std::expected<Value, Error>;

[[nodiscard]] inline std::unexpected<Failure> failed(FailureKind kind, std::string reason) {
  return std::unexpected(Failure{kind, std::move(reason)});
}

}  // namespace vantorel

/// Leaves the function with the failure of `expression`, or goes on with its value.
#define VT_TRY(expression)                                 \
  __extension__({                                          \
    auto vtResult = (expression);                          \
    if (!vtResult.has_value()) [[unlikely]]                \
      return std::unexpected(std::move(vtResult).error()); \
    std::move(vtResult).value();                           \
  })
