#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "base/result.hpp"

namespace vantorel {

/// One accepted connection: bytes in both directions. Lives on the listener's runner, where its
/// callbacks are called, never from within the call that asked. Closes when it goes; what was asked
/// for then is not answered any more.
class LoopbackStream {
 public:
  virtual ~LoopbackStream() = default;

  /// Waits for the next bytes, one call at a time. The bytes are valid during the callback; none
  /// say that the peer sends no more, though it may still read.
  using Received = std::move_only_function<void(Result<std::string_view> bytes)>;
  virtual void read(Received received) = 0;

  /// Sends all of two pieces, one call at a time; they stay valid until `sent` is called.
  using Sent = std::move_only_function<void(Result<void>)>;
  virtual void write(std::string_view first, std::string_view second, Sent sent) = 0;

  /// Tells the peer that nothing more comes.
  virtual void endSending() = 0;

  /// Whether the peer has closed its end altogether: one that only ended its sending still reads.
  /// For after the end of its bytes; costs about a millisecond.
  [[nodiscard]] virtual bool isPeerGone() const = 0;

  /// "127.0.0.1:40312", for the log.
  [[nodiscard]] virtual std::string peer() const = 0;
};

/// Takes connections on 127.0.0.1 alone. Lives on `runner`; stops listening when it goes.
class LoopbackListener {
 public:
  virtual ~LoopbackListener() = default;

  struct Callbacks {
    std::function<void(std::unique_ptr<LoopbackStream>)> accepted;
    std::function<void(Failure)> ended;  ///< it cannot take connections any more
  };

  /// Listens on the port, on any free one for 0. Answers at once with the port, or fails, with
  /// `exists` when another program has it.
  [[nodiscard]] virtual Result<std::uint16_t> listen(std::uint16_t port, Callbacks callbacks) = 0;
};

}  // namespace vantorel
