#include "platform/linux/x11_application_state.hpp"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>

#include "platform/linux/x11_windows.hpp"

namespace vantorel {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds longestAnswer{500};

bool isStopped(std::int64_t process) {
  if (process == 0) return false;
  std::ifstream file("/proc/" + std::to_string(process) + "/stat");
  const std::string text(std::istreambuf_iterator<char>(file), {});
  // The state follows the name, which may hold anything in its parentheses.
  const std::size_t name = text.rfind(") ");
  return name != std::string::npos && name + 2 < text.size() &&
         (text[name + 2] == 'T' || text[name + 2] == 't');
}

bool promisesToAnswer(X11Session& session, xcb_window_t window) {
  xcb_connection_t* c = session.connection();
  const auto protocols = xReply<xcb_get_property_reply>(
      c, xcb_get_property(c, 0, window, session.atom(XAtom::protocols), XCB_ATOM_ATOM, 0, 64));
  const auto atoms = words(protocols.get());
  return std::ranges::find(atoms, session.atom(XAtom::ping)) != atoms.end();
}

/// Whether `event` is the answer to `question`: the same message, sent on to the root window.
bool isAnswer(const xcb_generic_event_t& event, const xcb_client_message_event_t& question) {
  if ((event.response_type & 0x7FU) != XCB_CLIENT_MESSAGE) return false;
  const auto& message = reinterpret_cast<const xcb_client_message_event_t&>(event);
  return message.type == question.type &&
         std::equal(message.data.data32, message.data.data32 + 3, question.data.data32);
}

/// Answers are sent to the root window, to those who hear of its children.
class HearingOfChildren {
 public:
  explicit HearingOfChildren(X11Session& session) : session_(session) {
    const auto attributes = xReply<xcb_get_window_attributes_reply>(
        session.connection(),
        xcb_get_window_attributes(session.connection(), session.screen().root));
    if (attributes) before_ = attributes->your_event_mask;
    listenTo(before_ | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY);
  }
  HearingOfChildren(const HearingOfChildren&) = delete;
  HearingOfChildren& operator=(const HearingOfChildren&) = delete;
  ~HearingOfChildren() { listenTo(before_); }

 private:
  void listenTo(std::uint32_t events) {
    xcb_change_window_attributes(session_.connection(), session_.screen().root, XCB_CW_EVENT_MASK,
                                 &events);
    xcb_flush(session_.connection());
  }

  X11Session& session_;
  std::uint32_t before_ = 0;
};

bool answers(X11Session& session, xcb_window_t window) {
  const HearingOfChildren hearing(session);
  xcb_client_message_event_t question{};
  question.response_type = XCB_CLIENT_MESSAGE;
  question.format = 32;
  question.window = window;
  question.type = session.atom(XAtom::protocols);
  question.data.data32[0] = session.atom(XAtom::ping);
  question.data.data32[1] = static_cast<std::uint32_t>(steady_clock::now().time_since_epoch() /
                                                       std::chrono::milliseconds(1));
  question.data.data32[2] = window;
  xcb_send_event(session.connection(), 0, window, XCB_EVENT_MASK_NO_EVENT,
                 reinterpret_cast<const char*>(&question));
  xcb_flush(session.connection());
  const auto end = steady_clock::now() + longestAnswer;
  while (const auto event = session.nextEvent(end)) {
    if (isAnswer(*event, question)) return true;
    if (event->response_type != 0) session.handle(*event);
  }
  return false;
}

}  // namespace

ApplicationState applicationState(X11Session& session, xcb_window_t window) {
  if (isStopped(processOf(session, window))) return ApplicationState::stopped;
  if (!promisesToAnswer(session, window) || answers(session, window)) {
    return ApplicationState::works;
  }
  return ApplicationState::hangs;
}

std::optional<Failure> whyUnpainted(X11Session& session, xcb_window_t window) {
  switch (applicationState(session, window)) {
    case ApplicationState::works: return std::nullopt;
    case ApplicationState::stopped:
      return Failure{
          FailureKind::unsupported,
          "the window's application is stopped, and what other windows cover of it can't "
          "be seen"};
    case ApplicationState::hangs:
      return Failure{FailureKind::unsupported,
                     "the window's application doesn't respond, and what other windows cover of it "
                     "can't be seen"};
  }
  std::unreachable();
}

}  // namespace vantorel
