#include "platform/linux/x11_clipboard_reader.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "platform/linux/x11_call.hpp"

namespace vantorel {
namespace {

/// Properties are read at once; what is larger than a server takes in one request comes in pieces.
constexpr std::uint32_t wholeProperty = 0x1FFFFFFF;

/// Few names, so that the server does not keep one for each paste.
constexpr std::uint32_t propertyNames = 8;

std::unexpected<Failure> nothingThere() {
  return failed(FailureKind::notFound, "there is nothing of the kind on the clipboard");
}

}  // namespace

X11ClipboardReader::X11ClipboardReader(xcb_connection_t* connection, xcb_window_t root)
    : connection_(connection), window_(xcb_generate_id(connection)) {
  xcb_create_window(connection, XCB_COPY_FROM_PARENT, window_, root, 0, 0, 1, 1, 0,
                    XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
  clipboard_ = atom("CLIPBOARD");
  targets_ = atom("TARGETS");
  pieces_ = atom("INCR");
}

xcb_atom_t X11ClipboardReader::atom(const std::string& name) const {
  const auto reply = xReply<xcb_intern_atom_reply>(
      connection_,
      xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(name.size()), name.c_str()));
  return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

void X11ClipboardReader::read(std::vector<std::string> types, std::size_t maximumBytes,
                              Answer done) {
  if (reading_) finish(failed(FailureKind::cancelled, "something else is pasted by now"));
  // Where this program hands out its own in pieces, it listened to the window as well, and ended
  // it.
  const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
  xcb_change_window_attributes(connection_, window_, XCB_CW_EVENT_MASK, &events);
  reading_ = Reading{std::move(types), maximumBytes, std::move(done), {}, {}, false};
  ask(targets_);
}

void X11ClipboardReader::cancel() {
  if (reading_) finish(failed(FailureKind::cancelled, "nobody waits for it"));
}

void X11ClipboardReader::ask(xcb_atom_t target) {
  property_ = atom(fmt::format("VANTOREL_PASTE_{}", asked_++ % propertyNames));
  xcb_delete_property(connection_, window_, property_);
  xcb_convert_selection(connection_, window_, clipboard_, target, property_, XCB_CURRENT_TIME);
  xcb_flush(connection_);
}

bool X11ClipboardReader::handle(const xcb_generic_event_t& event) {
  const auto type = event.response_type & 0x7f;
  if (type == XCB_SELECTION_NOTIFY) {
    const auto& notice = reinterpret_cast<const xcb_selection_notify_event_t&>(event);
    if (notice.requestor != window_) return false;
    if (reading_) answered(notice);
    return true;
  }
  if (type == XCB_PROPERTY_NOTIFY) {
    const auto& change = reinterpret_cast<const xcb_property_notify_event_t&>(event);
    if (change.window != window_) return false;
    // Removals are for whoever hands out pieces, which may be this very program.
    if (change.state == XCB_PROPERTY_DELETE) return false;
    const bool isPiece = reading_ && reading_->comesInPieces && change.atom == property_;
    if (isPiece) readPiece();
    return true;
  }
  return false;
}

void X11ClipboardReader::answered(const xcb_selection_notify_event_t& notice) {
  const xcb_atom_t expected = reading_->type ? atom(*reading_->type) : targets_;
  if (notice.target != expected || reading_->comesInPieces) return;
  // An owner of long ago may not know TARGETS: the types are asked for one after the other then.
  if (notice.property == XCB_ATOM_NONE) {
    if (reading_->type) std::erase(reading_->types, *reading_->type);
    if (reading_->types.empty()) return finish(nothingThere());
    reading_->type = reading_->types.front();
    return ask(atom(*reading_->type));
  }
  if (notice.property != property_) return;
  if (reading_->type) {
    readWhole();
  } else {
    chooseType();
  }
}

void X11ClipboardReader::chooseType() {
  const auto reply = xReply<xcb_get_property_reply>(
      connection_,
      xcb_get_property(connection_, 1, window_, property_, XCB_ATOM_ANY, 0, wholeProperty));
  const auto offered = words(reply.get());
  std::erase_if(reading_->types, [&](const std::string& type) {
    return std::ranges::find(offered, atom(type)) == offered.end();
  });
  if (reading_->types.empty()) return finish(nothingThere());
  reading_->type = reading_->types.front();
  ask(atom(*reading_->type));
}

/// False when it was too much.
bool X11ClipboardReader::take(const xcb_get_property_reply_t* reply) {
  const std::string_view piece = bytes(reply);
  if (reading_->bytes.size() + piece.size() > reading_->maximumBytes) {
    finish(failed(FailureKind::tooLarge, "what is on the clipboard is too large"));
    return false;
  }
  reading_->bytes += piece;
  return true;
}

void X11ClipboardReader::readWhole() {
  const auto reply = xReply<xcb_get_property_reply>(
      connection_,
      xcb_get_property(connection_, 0, window_, property_, XCB_ATOM_ANY, 0, wholeProperty));
  if (!reply) return finish(failed(FailureKind::unreachable, "the clipboard could not be read"));
  // Its removal asks for the first piece.
  reading_->comesInPieces = reply->type == pieces_;
  xcb_delete_property(connection_, window_, property_);
  xcb_flush(connection_);
  if (reading_->comesInPieces) return;
  if (!take(reply.get())) return;
  finish(ClipboardItem{*reading_->type, std::move(reading_->bytes)});
}

void X11ClipboardReader::readPiece() {
  const auto reply = xReply<xcb_get_property_reply>(
      connection_,
      xcb_get_property(connection_, 1, window_, property_, XCB_ATOM_ANY, 0, wholeProperty));
  if (!reply) return finish(failed(FailureKind::unreachable, "the clipboard could not be read"));
  xcb_flush(connection_);
  if (bytes(reply.get()).empty()) {
    return finish(ClipboardItem{*reading_->type, std::move(reading_->bytes)});
  }
  (void)take(reply.get());
}

void X11ClipboardReader::finish(Result<ClipboardItem> result) {
  Answer done = std::move(reading_->done);
  reading_.reset();
  done(std::move(result));
}

}  // namespace vantorel
