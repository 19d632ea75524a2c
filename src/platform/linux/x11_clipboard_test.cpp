#include "platform/linux/x11_clipboard.hpp"

#include <gmock/gmock.h>
#include <poll.h>
#include <signal.h>

#include <atomic>
#include <cstring>
#include <fstream>
#include <thread>

#include "platform/testing/desktop/test_desktop.hpp"
#include "platform/testing/desktop/test_loop.hpp"

namespace vantorel {
namespace {

using testing::HasSubstr;
using testing::Not;

/// A clipboard manager: asked to save, it reads the clipboard's picture and owns it from then on.
/// On a connection and a thread of its own.
class SavingManager {
 public:
  explicit SavingManager(const std::string& display)
      : connection_(xcb_connect(display.c_str(), nullptr)),
        root_(xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root),
        window_(xcb_generate_id(connection_)) {
    xcb_create_window(connection_, XCB_COPY_FROM_PARENT, window_, root_, 0, 0, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
    xcb_set_selection_owner(connection_, window_, atom("CLIPBOARD_MANAGER"), XCB_CURRENT_TIME);
    xcb_flush(connection_);
    thread_ = std::thread([this] { serve(); });
  }
  SavingManager(const SavingManager&) = delete;
  SavingManager& operator=(const SavingManager&) = delete;
  ~SavingManager() {
    ends_ = true;
    thread_.join();
    xcb_disconnect(connection_);
  }

  /// Empty until it has been asked to save.
  std::string saved() {
    const std::lock_guard lock(mutex_);
    return saved_;
  }

 private:
  xcb_atom_t atom(const char* name) {
    const std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> reply(
        xcb_intern_atom_reply(
            connection_,
            xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(std::strlen(name)), name),
            nullptr),
        &std::free);
    return reply->atom;
  }

  void serve() {
    while (!ends_) {
      std::unique_ptr<xcb_generic_event_t, decltype(&std::free)> event(
          xcb_poll_for_event(connection_), &std::free);
      if (!event) {
        pollfd waiting{xcb_get_file_descriptor(connection_), POLLIN, 0};
        poll(&waiting, 1, 10);
      } else if ((event->response_type & 0x7f) == XCB_SELECTION_REQUEST) {
        requester_ = *reinterpret_cast<xcb_selection_request_event_t*>(event.get());
        xcb_convert_selection(connection_, window_, atom("CLIPBOARD"), atom("image/png"),
                              atom("SAVED"), XCB_CURRENT_TIME);
        xcb_flush(connection_);
      } else if ((event->response_type & 0x7f) == XCB_SELECTION_NOTIFY) {
        keep();
      }
    }
  }

  void keep() {
    const std::unique_ptr<xcb_get_property_reply_t, decltype(&std::free)> content(
        xcb_get_property_reply(
            connection_,
            xcb_get_property(connection_, 1, window_, atom("SAVED"), XCB_ATOM_ANY, 0, 1 << 20),
            nullptr),
        &std::free);
    {
      const std::lock_guard lock(mutex_);
      saved_.assign(static_cast<const char*>(xcb_get_property_value(content.get())),
                    static_cast<std::size_t>(xcb_get_property_value_length(content.get())));
    }
    xcb_set_selection_owner(connection_, window_, atom("CLIPBOARD"), XCB_CURRENT_TIME);
    xcb_selection_notify_event_t done{};
    done.response_type = XCB_SELECTION_NOTIFY;
    done.requestor = requester_.requestor;
    done.selection = requester_.selection;
    done.target = requester_.target;
    done.property = requester_.property;
    xcb_send_event(connection_, 0, requester_.requestor, 0, reinterpret_cast<const char*>(&done));
    xcb_flush(connection_);
  }

  xcb_connection_t* connection_;
  xcb_window_t root_;
  xcb_window_t window_;
  xcb_selection_request_event_t requester_{};
  std::mutex mutex_;
  std::string saved_;
  std::atomic<bool> ends_ = false;
  std::thread thread_;
};

class ClipboardTest : public testing::Test {
 protected:
  /// What another program gets when it asks for `type`.
  std::string paste(const char* type) {
    auto reader = desktop.start({"xclip", "-selection", "clipboard", "-t", type, "-o"});
    EXPECT_TRUE(loop.runUntil([&] { return !reader.isRunning(); }));
    return reader.wait().out;
  }

  /// Another program that owns the clipboard as long as it runs.
  ChildProcess copyElsewhere(const std::string& text) {
    const auto file = desktop.folder() / "text";
    std::ofstream(file) << text;
    auto owner = desktop.start({"xclip", "-quiet", "-selection", "clipboard", "-i", file.string()});
    EXPECT_TRUE(loop.runUntil([&] { return paste("UTF8_STRING") == text; }));
    return owner;
  }

  using Set = void (Clipboard::*)(std::string, std::move_only_function<void(Result<void>)>);

  Result<void> copy(Set set, std::string content) {
    auto outcome = loop.answer<Result<void>>(
        [&](auto done) { (clipboard.*set)(std::move(content), std::move(done)); });
    return outcome ? *std::move(outcome) : failed(FailureKind::other, "no answer");
  }

  Result<ClipboardItem> read(std::vector<std::string> types) {
    auto item = loop.answer<Result<ClipboardItem>>(
        [&](auto done) { clipboard.read(std::move(types), std::move(done)); });
    return item ? *std::move(item) : failed(FailureKind::other, "no answer");
  }

  static std::string bytes(std::size_t count) {
    std::string text = "\x89PNG\r\n\x1a\n";
    while (text.size() < count) text.push_back(static_cast<char>(text.size() * 7919 >> 3));
    return text;
  }

  TestDesktop desktop{{.screen = PixelSize{320, 200}}};
  TestLoop loop;
  X11Clipboard clipboard{desktop.display(), std::shared_ptr<TaskRunner>(&loop, [](TaskRunner*) {}),
                         std::chrono::seconds(1)};
};

TEST_F(ClipboardTest, OthersPasteTheVeryBytes) {
  // More than fits into one answer of the protocol, ending within a piece and with one.
  for (const std::size_t size : {3'000'001, 512 * 1024}) {
    const std::string png = bytes(size);
    ASSERT_TRUE(copy(&Clipboard::setImage, png));
    EXPECT_TRUE(paste("image/png") == png);
    EXPECT_TRUE(paste("image/png") == png) << "and again";
  }
  EXPECT_THAT(paste("TARGETS"), Not(HasSubstr("image/bmp")));

  ASSERT_TRUE(copy(&Clipboard::setText, "Grüße, 世界"));
  EXPECT_EQ(paste("UTF8_STRING"), "Grüße, 世界");
  EXPECT_EQ(paste("STRING"),
            "Gr\xFC\xDF"
            "e, ??");
}

TEST_F(ClipboardTest, AnnotationsCanBePastedUntilAnythingElseIsCopied) {
  const std::string shapes = R"([{"type":"text","text":"Grüße"}])";
  EXPECT_EQ(clipboard.shapes(), "");
  ASSERT_TRUE(copy(&Clipboard::setShapes, shapes));
  EXPECT_EQ(clipboard.shapes(), shapes);
  EXPECT_EQ(paste("com.vantorel.shapes"), shapes);
  ASSERT_TRUE(copy(&Clipboard::setText, "words"));
  EXPECT_EQ(clipboard.shapes(), "");
  ASSERT_TRUE(copy(&Clipboard::setShapes, shapes));
  bool isLost = false;
  clipboard.whenLost([&] { isLost = true; });
  const auto other = copyElsewhere("theirs");
  EXPECT_TRUE(loop.runUntil([&] { return isLost; }));
  EXPECT_EQ(clipboard.shapes(), "");
  // Taken back from who took it since.
  ASSERT_TRUE(copy(&Clipboard::setImage, bytes(1000)));
  EXPECT_TRUE(paste("image/png") == bytes(1000));
}

TEST_F(ClipboardTest, ReadsWhatAnyProgramHasCopied) {
  const std::string png = bytes(3'000'001);
  const auto file = desktop.folder() / "picture";
  std::ofstream(file, std::ios::binary) << png;
  // A copy that was replaced meanwhile has ended.
  const auto other = desktop.start(
      {"xclip", "-quiet", "-selection", "clipboard", "-t", "image/png", "-i", file.string()});
  ASSERT_TRUE(
      loop.runUntil([&] { return paste("TARGETS").find("image/png") != std::string::npos; }));
  EXPECT_TRUE(read(clipboard_types::pictures)->bytes == png);
  EXPECT_EQ(read(clipboard_types::texts).error().kind, FailureKind::notFound);

  ASSERT_TRUE(copy(&Clipboard::setText, "Grüße, 世界"));
  EXPECT_EQ(read(clipboard_types::texts)->bytes, "Grüße, 世界") << "our own";
  EXPECT_EQ(read(clipboard_types::pictures).error().kind, FailureKind::notFound);
  ASSERT_TRUE(copy(&Clipboard::setImage, png));
  EXPECT_TRUE(read(clipboard_types::pictures)->bytes == png) << "our own, in pieces";

  // Of two at a time the later one counts, and both are answered.
  std::optional<Result<ClipboardItem>> first;
  clipboard.read(clipboard_types::pictures, [&](auto item) { first = std::move(item); });
  EXPECT_EQ(read({"image/webp", "image/png"})->type, "image/png");
  EXPECT_TRUE(first.has_value());
}

TEST_F(ClipboardTest, NothingOnTheClipboardIsNothingRead) {
  EXPECT_EQ(read(clipboard_types::pictures).error().kind, FailureKind::notFound);
}

TEST_F(ClipboardTest, HandsTheContentToTheManagerAtTheEnd) {
  const SavingManager unused(desktop.display());  // one that comes and goes is not waited for
  SavingManager manager(desktop.display());
  ASSERT_TRUE(copy(&Clipboard::setImage, bytes(50'000)));
  clipboard.handOver();
  EXPECT_TRUE(manager.saved() == bytes(50'000));
}

TEST_F(ClipboardTest, AServerThatHangsHoldsNobodyUp) {
  ASSERT_TRUE(copy(&Clipboard::setText, "before"));
  desktop.server().signal(SIGSTOP);
  const auto before = std::chrono::steady_clock::now();
  Result<void> outcome;
  clipboard.setImage(bytes(1000), [&](Result<void> answer) { outcome = std::move(answer); });
  EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(500));
  EXPECT_TRUE(loop.runUntil([&] { return !outcome.has_value(); }));
  EXPECT_EQ(outcome.error().kind, FailureKind::unreachable);
  clipboard.handOver();
  ::kill(desktop.server().pid(), SIGCONT);
  ASSERT_TRUE(copy(&Clipboard::setText, "after"));
  EXPECT_EQ(paste("UTF8_STRING"), "after");
}

}  // namespace
}  // namespace vantorel
