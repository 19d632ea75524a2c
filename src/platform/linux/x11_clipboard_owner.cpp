#include "platform/linux/x11_clipboard_owner.hpp"

#include <algorithm>

#include "platform/linux/x11_call.hpp"

namespace vantorel {
namespace {

/// Small enough for every server and for readers that copy each piece.
constexpr std::size_t pieceSize = std::size_t{256} * 1024;

template <class T>
void setProperty(xcb_connection_t* connection, xcb_window_t window, xcb_atom_t property,
                 xcb_atom_t type, const std::vector<T>& items) {
  xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, property, type, sizeof(T) * 8,
                      static_cast<std::uint32_t>(items.size()), items.data());
}

xcb_window_t rootOf(xcb_connection_t* connection, int screen) {
  auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
  for (; screen > 0; --screen) xcb_screen_next(&screens);
  return screens.data->root;
}

void listen(xcb_connection_t* connection, xcb_window_t window, std::uint32_t events) {
  xcb_change_window_attributes(connection, window, XCB_CW_EVENT_MASK, &events);
}

}  // namespace

X11ClipboardOwner::X11ClipboardOwner(xcb_connection_t* connection, int screen,
                                     std::function<void()> lost)
    : connection_(connection),
      window_(xcb_generate_id(connection)),
      lost_(std::move(lost)),
      reader_(connection, rootOf(connection, screen)) {
  const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
  xcb_create_window(connection, XCB_COPY_FROM_PARENT, window_, rootOf(connection, screen), 0, 0, 1,
                    1, 0, XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK,
                    &events);
  clipboard_ = atom("CLIPBOARD");
  manager_ = atom("CLIPBOARD_MANAGER");
  targets_ = atom("TARGETS");
  timestamp_ = atom("TIMESTAMP");
  multiple_ = atom("MULTIPLE");
  pieces_ = atom("INCR");
  ownProperty_ = atom("VANTOREL_CLIPBOARD");
}

X11ClipboardOwner::~X11ClipboardOwner() {
  if (owned_) owned_(false);
  if (kept_) kept_(false);
  lost_();
}

xcb_atom_t X11ClipboardOwner::atom(const std::string& name) const {
  const auto reply = xReply<xcb_intern_atom_reply>(
      connection_,
      xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(name.size()), name.c_str()));
  return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

xcb_window_t X11ClipboardOwner::ownerOf(xcb_atom_t selection) const {
  const auto reply = xReply<xcb_get_selection_owner_reply>(
      connection_, xcb_get_selection_owner(connection_, selection));
  return reply ? reply->owner : xcb_window_t{XCB_NONE};
}

std::vector<xcb_atom_t> X11ClipboardOwner::types() const {
  std::vector<xcb_atom_t> types;
  for (const Offer& offer : offers_) types.push_back(offer.type);
  return types;
}

void X11ClipboardOwner::own(ClipboardContent content, Answer owned) {
  if (owned_) owned_(false);
  owned_ = std::move(owned);
  offers_.clear();
  for (auto& [type, bytes] : content) offers_.push_back({atom(type), std::move(bytes)});
  // A selection is taken at a time of the server's, which the change of a property tells.
  setProperty(connection_, window_, ownProperty_, XCB_ATOM_INTEGER, std::vector<std::uint8_t>{});
  xcb_flush(connection_);
}

void X11ClipboardOwner::takeSelection(xcb_timestamp_t time) {
  since_ = time;
  xcb_set_selection_owner(connection_, window_, clipboard_, time);
  isOwner_ = ownerOf(clipboard_) == window_;
  if (!isOwner_) offers_.clear();
  std::exchange(owned_, nullptr)(isOwner_);
}

void X11ClipboardOwner::handOver(Answer kept) {
  if (!isOwner_ || ownerOf(manager_) == XCB_NONE) return kept(true);
  kept_ = std::move(kept);
  setProperty(connection_, window_, ownProperty_, XCB_ATOM_ATOM, types());
  xcb_convert_selection(connection_, window_, manager_, atom("SAVE_TARGETS"), ownProperty_, since_);
  xcb_flush(connection_);
}

void X11ClipboardOwner::handle(const xcb_generic_event_t& event) {
  if (reader_.handle(event)) return;
  switch (event.response_type & 0x7f) {
    case XCB_PROPERTY_NOTIFY:
      propertyChanged(reinterpret_cast<const xcb_property_notify_event_t&>(event));
      break;
    case XCB_SELECTION_REQUEST:
      answer(reinterpret_cast<const xcb_selection_request_event_t&>(event));
      break;
    case XCB_SELECTION_CLEAR:
      isOwner_ = false;
      offers_.clear();
      lost_();
      break;
    case XCB_SELECTION_NOTIFY: {
      const auto& notice = reinterpret_cast<const xcb_selection_notify_event_t&>(event);
      if (notice.selection != manager_ || !kept_) break;
      std::exchange(kept_, nullptr)(notice.property != XCB_ATOM_NONE);
      break;
    }
    case XCB_DESTROY_NOTIFY: {
      const auto gone = reinterpret_cast<const xcb_destroy_notify_event_t&>(event).window;
      std::erase_if(transfers_, [&](const Transfer& transfer) { return transfer.reader == gone; });
      break;
    }
    default: break;
  }
}

void X11ClipboardOwner::propertyChanged(const xcb_property_notify_event_t& event) {
  if (event.window == window_) {
    if (event.atom == ownProperty_ && owned_) takeSelection(event.time);
    return;
  }
  if (event.state != XCB_PROPERTY_DELETE) return;
  const auto found = std::ranges::find_if(transfers_, [&](const Transfer& transfer) {
    return transfer.reader == event.window && transfer.property == event.atom;
  });
  if (found != transfers_.end()) {
    sendNextPiece(static_cast<std::size_t>(found - transfers_.begin()));
  }
}

void X11ClipboardOwner::answer(const xcb_selection_request_event_t& request) {
  // Readers of long ago name no property and expect the target's.
  const xcb_atom_t property = request.property != XCB_ATOM_NONE ? request.property : request.target;
  const bool isTaken =
      request.selection == clipboard_ &&
      (request.target == multiple_ ? convertAll(request.requestor, property)
                                   : convert(request.requestor, request.target, property));
  xcb_selection_notify_event_t notice{};
  notice.response_type = XCB_SELECTION_NOTIFY;
  notice.time = request.time;
  notice.requestor = request.requestor;
  notice.selection = request.selection;
  notice.target = request.target;
  notice.property = isTaken ? property : xcb_atom_t{XCB_ATOM_NONE};
  xcb_send_event(connection_, 0, request.requestor, XCB_EVENT_MASK_NO_EVENT,
                 reinterpret_cast<const char*>(&notice));
  xcb_flush(connection_);
}

bool X11ClipboardOwner::convert(xcb_window_t reader, xcb_atom_t target, xcb_atom_t property) {
  if (target == targets_) {
    std::vector<xcb_atom_t> all = types();
    all.insert(all.end(), {targets_, timestamp_, multiple_});
    setProperty(connection_, reader, property, XCB_ATOM_ATOM, all);
    return true;
  }
  if (target == timestamp_) {
    setProperty(connection_, reader, property, XCB_ATOM_INTEGER, std::vector{since_});
    return true;
  }
  const auto offer = std::ranges::find(offers_, target, &Offer::type);
  if (offer == offers_.end()) return false;
  const std::string& bytes = *offer->bytes;
  if (bytes.size() <= pieceSize) {
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, reader, property, target, 8,
                        static_cast<std::uint32_t>(bytes.size()), bytes.data());
    return true;
  }
  std::erase_if(transfers_, [&](const Transfer& transfer) {
    return transfer.reader == reader && transfer.property == property;
  });
  transfers_.push_back({reader, property, target, offer->bytes});
  listen(connection_, reader, XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY);
  setProperty(connection_, reader, property, pieces_,
              std::vector{static_cast<std::uint32_t>(bytes.size())});
  return true;
}

/// `property` of the reader holds pairs of a target and the property for it; what we cannot give is
/// marked there.
bool X11ClipboardOwner::convertAll(xcb_window_t reader, xcb_atom_t property) {
  const auto wanted = xReply<xcb_get_property_reply>(
      connection_, xcb_get_property(connection_, 0, reader, property, XCB_ATOM_ANY, 0, 1024));
  const auto items = words(wanted.get());
  std::vector<std::uint32_t> pairs(items.begin(), items.end());
  if (pairs.size() % 2 != 0 || pairs.empty()) return false;
  for (std::size_t i = 0; i < pairs.size(); i += 2) {
    if (!convert(reader, pairs[i], pairs[i + 1])) pairs[i + 1] = XCB_ATOM_NONE;
  }
  setProperty(connection_, reader, property, wanted->type, pairs);
  return true;
}

void X11ClipboardOwner::sendNextPiece(std::size_t index) {
  Transfer& transfer = transfers_[index];
  const std::size_t size = std::min(pieceSize, transfer.bytes->size() - transfer.sent);
  // The piece without bytes ends it.
  xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, transfer.reader, transfer.property,
                      transfer.type, 8, static_cast<std::uint32_t>(size),
                      transfer.bytes->data() + transfer.sent);
  transfer.sent += size;
  if (size == 0) {
    const xcb_window_t reader = transfer.reader;
    transfers_.erase(transfers_.begin() + static_cast<std::ptrdiff_t>(index));
    const bool isReading =
        std::ranges::find(transfers_, reader, &Transfer::reader) != transfers_.end();
    if (!isReading) listen(connection_, reader, XCB_EVENT_MASK_NO_EVENT);
  }
  xcb_flush(connection_);
}

}  // namespace vantorel
