#include "platform/linux/x11_window_ground.hpp"

#include <xcb/composite.h>

#include <algorithm>
#include <cstring>
#include <set>

#include "platform/linux/x11_application_state.hpp"

namespace vantorel {
namespace {

void blacken(const PixelBuffer& buffer, const PixelRect& rect) {
  for (int y = rect.y; y < rect.bottom(); ++y) {
    std::memset(buffer.row(y) + static_cast<std::size_t>(rect.x) * 4, 0,
                static_cast<std::size_t>(rect.width) * 4);
  }
}

}  // namespace

Result<std::unique_ptr<X11FrameGround>> X11WindowGround::make(X11Session& session,
                                                              const FrameStreamRequest& request,
                                                              WindowID window) {
  if (window > UINT32_MAX) return std::unexpected(windowGone());
  if (!session.hasComposite()) {
    return failed(FailureKind::unsupported,
                  "this display server cannot show a window that others cover");
  }
  const auto id = static_cast<xcb_window_t>(window);
  std::unique_ptr<X11WindowGround> ground(
      new X11WindowGround(session, id, request.keptOwnWindowIDs));
  VT_TRY(ground->attach());
  if (ground->part_.isCovered && !ground->redirection_->isComplete()) {
    if (auto why = whyUnpainted(session, id)) return std::unexpected(*std::move(why));
  }
  ground->isStale_ = true;  // something may have happened meanwhile
  return ground;
}

X11WindowGround::~X11WindowGround() {
  if (content_ != XCB_NONE) xcb_free_pixmap(session_.connection(), content_);
}

void X11WindowGround::listenTo(xcb_window_t window) const {
  const std::uint32_t events[] = {XCB_EVENT_MASK_STRUCTURE_NOTIFY};
  xcb_change_window_attributes(session_.connection(), window, XCB_CW_EVENT_MASK, events);
}

Result<void> X11WindowGround::attach() {
  // Listens first, so that nothing is missed of what changes after it was asked for.
  listenTo(window_);
  const auto find = [this] {
    const XServerGrab atOnce(session_.connection());
    return findWindowPart(session_, window_, false, kept_);
  };
  XWindowPart found = VT_TRY(find());
  const xcb_window_t before = part_.top.id;
  if (found.top.id != before) {
    listenTo(found.top.id);
    redirection_.reset();
    redirection_.emplace(session_, std::set{found.top.id});
    // Waiting for that takes its time.
    found = VT_TRY(find());
  }
  part_ = found;
  outside_ = outsideOfShape(session_, part_.top, part_.crop);
  for (PixelRect& rect : outside_) {
    rect.x -= part_.crop.x;
    rect.y -= part_.crop.y;
  }
  nameContent();
  isShown_ = true;
  return {};
}

/// A window that grew, or was mapped anew, has another pixmap.
void X11WindowGround::nameContent() {
  xcb_connection_t* c = session_.connection();
  if (content_ != XCB_NONE) xcb_free_pixmap(c, content_);
  content_ = xcb_generate_id(c);
  xcb_composite_name_window_pixmap(c, part_.top.id, content_);
}

void X11WindowGround::note(const xcb_generic_event_t& event) {
  const std::uint8_t type = event.response_type & 0x7FU;
  const bool isOfStructure = type == XCB_MAP_NOTIFY || type == XCB_UNMAP_NOTIFY ||
                             type == XCB_REPARENT_NOTIFY || type == XCB_DESTROY_NOTIFY ||
                             type == XCB_CONFIGURE_NOTIFY;
  if (!isOfStructure) return;
  // These all begin alike.
  const xcb_window_t window = reinterpret_cast<const xcb_map_notify_event_t&>(event).window;
  if (window != window_ && window != part_.top.id) return;
  if (type == XCB_DESTROY_NOTIFY && window == window_) isGone_ = true;
  if (type == XCB_CONFIGURE_NOTIFY && window == part_.top.id) {
    // While it is only moved, nothing has to be asked.
    const auto& now = reinterpret_cast<const xcb_configure_notify_event_t&>(event);
    PixelRect& outer = part_.top.outer;
    const bool isOfThisSize = now.width + 2 * part_.top.border == outer.width &&
                              now.height + 2 * part_.top.border == outer.height &&
                              now.border_width == part_.top.border;
    if (isOfThisSize && isShown_ && !isStale_) {
      part_.frame.x += now.x - outer.x;
      part_.frame.y += now.y - outer.y;
      outer.x = now.x;
      outer.y = now.y;
      return;
    }
  }
  isStale_ = true;
}

Result<void> X11WindowGround::update() {
  if (isGone_) return std::unexpected(windowGone());
  if (!std::exchange(isStale_, false)) return {};
  auto done = attach();
  if (done || done.error().kind != FailureKind::busy) return done;
  isShown_ = false;
  return {};
}

Result<bool> X11WindowGround::draw(X11FramePictures& pictures,
                                   const X11FramePictures::Picture& picture,
                                   const std::function<void()>& handleEvents) {
  const PixelBuffer& buffer = picture.buffer;
  const PixelRect all{0, 0, buffer.size.width, buffer.size.height};
  const PixelRect within = intersection(all, {0, 0, part_.crop.width, part_.crop.height});
  if (within != all) blacken(buffer, all);
  const PixelRect source{part_.crop.x, part_.crop.y, within.width, within.height};
  if (!pictures.read(content_, source, part_.top.depth, part_.top.visual, picture, 0, 0)) {
    handleEvents();
    isStale_ = true;
    isShown_ = false;
    return false;
  }
  for (const PixelRect& rect : outside_) blacken(buffer, intersection(rect, all));
  return true;
}

}  // namespace vantorel
