#include "platform/linux/x11_clipboard.hpp"

#include <future>
#include <utility>

#include "base/bounded_run.hpp"
#include "base/log.hpp"

namespace vantorel {
namespace {

/// How long another program may take to hand over what it has copied.
constexpr std::chrono::seconds ownerBound{10};
constexpr std::size_t maximumPasted = std::size_t{512} << 20U;

std::string latin1(const std::string& utf8) {
  std::string text;
  for (std::size_t i = 0; i < utf8.size(); ++i) {
    const auto lead = static_cast<std::uint8_t>(utf8[i]);
    if ((lead & 0xC0U) == 0x80U) continue;
    const bool isShort = lead == 0xC2U || lead == 0xC3U;
    if (isShort && i + 1 < utf8.size()) {
      text += static_cast<char>((lead << 6U) | (static_cast<std::uint8_t>(utf8[i + 1]) & 0x3FU));
    } else {
      text += lead < 0x80U ? utf8[i] : '?';
    }
  }
  return text;
}

std::shared_ptr<const std::string> shared(std::string bytes) {
  return std::make_shared<const std::string>(std::move(bytes));
}

}  // namespace

X11Clipboard::X11Clipboard(const std::string& display, std::shared_ptr<TaskRunner> main,
                           std::chrono::nanoseconds bound)
    : main_(std::move(main)), bound_(bound) {
  auto lost = [main = main_, lost = lifetime_.guard([this] {
    shapes_.clear();
    if (lost_) lost_();
  })] { main->post([lost]() mutable { lost(); }); };
  worker_ = std::make_unique<X11Worker>(
      display,
      [lost = std::move(lost)](xcb_connection_t* connection,
                               int screen) -> Result<std::unique_ptr<X11Client>> {
        return std::make_unique<X11ClipboardOwner>(connection, screen, lost);
      });
}

void X11Clipboard::put(ClipboardContent content, std::string shapes, const char* refusal,
                       std::move_only_function<void(Result<void>)> done) {
  hasCopied_ = true;
  runBounded<bool>(
      main_, {bound_, bound_, {}},
      [this, content = std::move(content)](std::move_only_function<void(bool)> reply) mutable {
        worker_->post([main = main_, content = std::move(content),
                       reply = std::move(reply)](Result<X11Client*> client) mutable {
          auto answer = [main, reply = std::move(reply)](bool owned) mutable {
            main->post([owned, reply = std::move(reply)]() mutable { reply(owned); });
          };
          if (!client) return answer(false);
          static_cast<X11ClipboardOwner&>(**client).own(std::move(content), std::move(answer));
        });
      },
      lifetime_.guard([this, shapes = std::move(shapes), refusal,
                       done = std::move(done)](std::optional<bool> owned) mutable {
        if (owned.value_or(false)) {
          shapes_ = std::move(shapes);
          return done({});
        }
        if (!owned) logWarning("Clipboard", "the display server did not answer in time");
        done(failed(owned ? FailureKind::denied : FailureKind::unreachable, refusal));
      }),
      nullptr);
}

void X11Clipboard::setImage(std::string png, std::move_only_function<void(Result<void>)> done) {
  put({{"image/png", shared(std::move(png))}}, {}, clipboard_refusal::image, std::move(done));
}

void X11Clipboard::setText(std::string text, std::move_only_function<void(Result<void>)> done) {
  const auto old = shared(latin1(text));
  const auto utf8 = shared(std::move(text));
  put({{"UTF8_STRING", utf8},
       {"text/plain;charset=utf-8", utf8},
       {"text/plain", utf8},
       {"STRING", old}},
      {}, clipboard_refusal::text, std::move(done));
}

void X11Clipboard::setShapes(std::string json, std::move_only_function<void(Result<void>)> done) {
  put({{std::string(shapesClipboardType), shared(json)}}, json, clipboard_refusal::shapes,
      std::move(done));
}

void X11Clipboard::read(std::vector<std::string> types, Read done) {
  runBounded<Result<ClipboardItem>>(
      main_, {ownerBound, ownerBound, {}},
      [this, types = std::move(types)](
          std::move_only_function<void(Result<ClipboardItem>)> reply) mutable {
        worker_->post([main = main_, types = std::move(types),
                       reply = std::move(reply)](Result<X11Client*> client) mutable {
          auto answer = [main, reply = std::move(reply)](Result<ClipboardItem> item) mutable {
            main->post([item = std::move(item), reply = std::move(reply)]() mutable {
              reply(std::move(item));
            });
          };
          if (!client) return answer(std::unexpected(client.error()));
          static_cast<X11ClipboardOwner&>(**client).reader().read(std::move(types), maximumPasted,
                                                                  std::move(answer));
        });
      },
      lifetime_.guard(
          [this, done = std::move(done)](std::optional<Result<ClipboardItem>> item) mutable {
            if (item) return done(*std::move(item));
            worker_->post([](Result<X11Client*> client) {
              if (client) static_cast<X11ClipboardOwner&>(**client).reader().cancel();
            });
            done(failed(FailureKind::unreachable,
                        "the program that has the clipboard doesn't hand it over"));
          }),
      nullptr);
}

void X11Clipboard::handOver() {
  if (!hasCopied_) return;
  auto promise = std::make_shared<std::promise<bool>>();
  auto kept = promise->get_future();
  worker_->post([promise](Result<X11Client*> client) {
    if (!client) return promise->set_value(false);
    static_cast<X11ClipboardOwner&>(**client).handOver(
        [promise](bool done) { promise->set_value(done); });
  });
  if (kept.wait_for(bound_) != std::future_status::ready || !kept.get()) {
    logWarning("Clipboard", "the clipboard manager did not take the content");
  }
}

}  // namespace vantorel
