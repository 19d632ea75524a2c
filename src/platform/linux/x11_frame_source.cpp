#include "platform/linux/x11_frame_source.hpp"

#include <xcb/damage.h>
#include <xcb/xfixes.h>

#include <algorithm>

#include "platform/linux/x11_area_ground.hpp"
#include "platform/linux/x11_pointer_painting.hpp"
#include "platform/linux/x11_target_area.hpp"
#include "platform/linux/x11_window_ground.hpp"

namespace vantorel {
namespace {

using std::chrono::nanoseconds;
using std::chrono::steady_clock;

// More parts than these are told of as the one that holds them all.
constexpr std::size_t mostChanges = 64;

PixelRect around(const PixelRect& a, const PixelRect& b) {
  const int x = std::min(a.x, b.x);
  const int y = std::min(a.y, b.y);
  return {x, y, std::max(a.right(), b.right()) - x, std::max(a.bottom(), b.bottom()) - y};
}

PixelRect placeOfPointer(const FrameCursor& cursor) {
  if (!cursor.isVisible) return {};
  return {cursor.position.x - cursor.hotSpot.x, cursor.position.y - cursor.hotSpot.y,
          cursor.picture.width(), cursor.picture.height()};
}

bool isSame(const FrameCursor& a, const FrameCursor& b) {
  return a.isVisible == b.isVisible && a.position == b.position && a.serial == b.serial;
}

}  // namespace

void X11FrameOutlet::deliver(Frame frame) {
  listener_.runner->post([self = shared_from_this(), frame = std::move(frame)]() mutable {
    self->listener_.frame(std::move(frame));
  });
}

void X11FrameOutlet::end(Failure why) {
  if (isClosed_ || hasEnded_.exchange(true)) return;
  main_->post([self = shared_from_this(), why = std::move(why)]() mutable {
    if (!self->isClosed_ && self->listener_.ended) self->listener_.ended(std::move(why));
  });
}

void X11FrameOutlet::flush(Task stopped) {
  listener_.runner->post(
      [main = main_, stopped = std::move(stopped)]() mutable { main->post(std::move(stopped)); });
}

X11Worker::MakeClient X11FrameSource::maker(std::shared_ptr<X11FrameOutlet> outlet) {
  return [outlet = std::move(outlet)](xcb_connection_t* connection,
                                      int screen) -> Result<std::unique_ptr<X11Client>> {
    auto session = VT_TRY(X11Session::make(connection, screen, WindowContents::onDemand));
    return std::unique_ptr<X11Client>(new X11FrameSource(
        std::unique_ptr<X11Session>(static_cast<X11Session*>(session.release())), outlet));
  };
}

X11FrameSource::X11FrameSource(std::unique_ptr<X11Session> session,
                               std::shared_ptr<X11FrameOutlet> outlet)
    : session_(std::move(session)), outlet_(std::move(outlet)) {
  session_->onEvent([this](const xcb_generic_event_t& event) { note(event); });
}

X11FrameSource::~X11FrameSource() {
  if (ground_) outlet_->end(serverGone());
}

Result<X11FrameSource::Facts> X11FrameSource::begin(const FrameStreamRequest& request,
                                                    std::function<void()> wake) {
  if (!session_->damageEvent()) {
    return failed(FailureKind::unsupported, "this display server does not tell what changes");
  }
  const auto* window = std::get_if<WindowTarget>(&request.target);
  auto ground =
      VT_TRY(window != nullptr ? X11WindowGround::make(*session_, request, window->windowID)
                               : X11AreaGround::make(*session_, request));
  const auto monitors = VT_TRY(session_->monitors());
  Facts facts{.size = ground->size(), .scale = monitors[0].scale, .target = request.target};
  facts.leavesOutOwnWindows =
      window != nullptr || (session_->hasComposite() && session_->hasRender());
  if (window != nullptr) {
    if (DisplayID display = displayUnder(ground->place(), monitors); !display.empty()) {
      facts.target = WindowTarget{window->windowID, std::move(display)};
    }
  }
  showsPointer_ = request.showsPointer;
  followsPointer_ = request.followsPointer;
  if (showsPointer_ || followsPointer_) pointer_.emplace(*session_);
  interval_ = std::chrono::duration_cast<nanoseconds>(
      std::chrono::duration<double>(1 / std::max(request.framesPerSecond, 0.001)));
  size_ = facts.size;
  pictures_.emplace(*session_, size_, std::move(wake));
  if (session_->hasFixes()) {
    region_ = xcb_generate_id(session_->connection());
    xcb_xfixes_create_region(session_->connection(), region_, 0, nullptr);
  }
  ground_ = std::move(ground);
  watch();
  changes_ = {whole()};
  next_ = steady_clock::now();
  return facts;
}

/// Has the server tell of changes of the ground's window.
void X11FrameSource::watch() {
  if (watched_ == ground_->watched()) return;
  xcb_connection_t* c = session_->connection();
  if (damage_ != 0) xcb_damage_destroy(c, damage_);
  watched_ = ground_->watched();
  damage_ = xcb_generate_id(c);
  xcb_damage_create(c, damage_, watched_, XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY);
  isDamaged_ = true;  // the server begins by reporting all of it
  xcb_flush(c);
}

void X11FrameSource::note(const xcb_generic_event_t& event) {
  if ((event.response_type & 0x7FU) == *session_->damageEvent() + XCB_DAMAGE_NOTIFY) {
    const auto& notice = reinterpret_cast<const xcb_damage_notify_event_t&>(event);
    if (notice.damage == damage_) isDamaged_ = true;
    return;
  }
  if (pointer_) pointer_->note(event);
  if (ground_) ground_->note(event);
}

/// What came along with answers.
void X11FrameSource::handleArrived() {
  while (
      const XOwned<xcb_generic_event_t> event{xcb_poll_for_queued_event(session_->connection())}) {
    if (event->response_type != 0) session_->handle(*event);
  }
}

void X11FrameSource::end(Failure why) {
  ground_.reset();
  outlet_->end(std::move(why));
}

bool X11FrameSource::isFrameDue() const {
  if (!ground_ || !ground_->isShown()) return false;
  if (isDamaged_ || (pointer_ && pointer_->hasChanged())) return true;
  return !changes_.empty() && pictures_->hasFree();
}

std::optional<steady_clock::time_point> X11FrameSource::wakesAt() const {
  return isFrameDue() ? std::optional(next_ - interval_ / 8) : std::nullopt;
}

void X11FrameSource::eventsHandled() {
  session_->eventsHandled();
  if (!ground_) return;
  if (auto now = ground_->update(); !now) return end(std::move(now).error());
  watch();
  const auto monitors = session_->monitors();
  if (!monitors) return end(monitors.error());
  const double scale = monitors->front().scale;
  if (ground_->size() != targetSize_ || scale != scale_) {
    // The listener has to learn of it though no pixel may have changed.
    targetSize_ = ground_->size();
    scale_ = scale;
    addChange(whole());
  }
  // A little early, so that what changes as often as frames may come has one for each change.
  if (isFrameDue() && steady_clock::now() + interval_ / 8 >= next_) takeFrame();
}

void X11FrameSource::addChange(const PixelRect& change) {
  const PixelRect within = intersection(change, whole());
  if (within.isEmpty()) return;
  if (changes_.size() < mostChanges) {
    changes_.push_back(within);
    return;
  }
  PixelRect all = within;
  for (const PixelRect& one : changes_) all = around(all, one);
  changes_ = {all};
}

/// Takes what was damaged over from the server, so that it tells of what comes after. What is drawn
/// is looked at only then.
void X11FrameSource::collectChanges() {
  xcb_connection_t* c = session_->connection();
  xcb_damage_subtract(c, damage_, XCB_NONE, region_);
  isDamaged_ = false;
  if (region_ == 0) {
    xcb_flush(c);
    return addChange(whole());
  }
  const auto parts = xReply<xcb_xfixes_fetch_region_reply>(c, xcb_xfixes_fetch_region(c, region_));
  if (!parts) return;
  const PixelPoint corner = ground_->corner();
  const xcb_rectangle_t* rects = xcb_xfixes_fetch_region_rectangles(parts.get());
  for (int i = 0; i < xcb_xfixes_fetch_region_rectangles_length(parts.get()); ++i) {
    addChange({rects[i].x - corner.x, rects[i].y - corner.y, rects[i].width, rects[i].height});
  }
}

/// False: there is no picture to draw into, or nothing to see.
Result<bool> X11FrameSource::draw(Frame& frame) {
  auto picture = pictures_->take();
  if (!picture) {
    ++dropped_;
    return false;
  }
  if (!VT_TRY(ground_->draw(*pictures_, *picture, [this] { handleArrived(); }))) return false;
  if (showsPointer_) {
    const PixelRect place = ground_->place();
    const PixelRect painted{place.x, place.y, std::min(place.width, size_.width),
                            std::min(place.height, size_.height)};
    VT_TRY(paintPointer(*session_, painted, picture->buffer));
  }
  frame.image = std::move(picture->buffer).finish(PixelFormat::bgrx);
  return true;
}

/// True when the pointer is not as the last frame had it.
bool X11FrameSource::followPointer() {
  if (!pointer_ || !pointer_->hasChanged()) return false;
  FrameCursor now = pointer_->look(ground_->place());
  if (isSame(now, cursor_)) return false;
  if (showsPointer_) {
    addChange(placeOfPointer(cursor_));
    addChange(placeOfPointer(now));
  }
  cursor_ = std::move(now);
  return followsPointer_;
}

void X11FrameSource::takeFrame() {
  if (isDamaged_) collectChanges();
  const bool hasPointerMoved = followPointer();
  if (changes_.empty() && !hasPointerMoved) return;
  const auto now = steady_clock::now();
  // Evenly spaced while frames come one after the other.
  next_ = next_ + interval_ > now ? next_ + interval_ : now + interval_;
  Frame frame;
  frame.time = clock_.monotonic();
  if (changes_.empty()) {
    frame.image = lastImage_;
  } else if (auto drawn = draw(frame); !drawn) {
    return end(std::move(drawn).error());
  } else if (!*drawn) {
    return;
  }
  frame.damage = std::exchange(changes_, {});
  frame.cursor = cursor_;
  frame.targetSize = targetSize_;
  frame.scale = scale_;
  frame.dropped = dropped_;
  if (followsPointer_) lastImage_ = frame.image;
  outlet_->deliver(std::move(frame));
}

}  // namespace vantorel
