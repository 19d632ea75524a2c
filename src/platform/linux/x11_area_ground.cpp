#include "platform/linux/x11_area_ground.hpp"

#include "platform/linux/x11_target_area.hpp"

namespace vantorel {

Result<std::unique_ptr<X11FrameGround>> X11AreaGround::make(X11Session& session,
                                                            const FrameStreamRequest& request) {
  const auto monitors = VT_TRY(session.monitors());
  const PixelRect area = VT_TRY(areaOf(request.target, monitors));
  CaptureTarget displays = request.target;
  if (const auto* region = std::get_if<RegionTarget>(&request.target)) {
    displays = DisplayTarget{region->displayID};
  }
  const PixelRect displayArea = VT_TRY(areaOf(displays, monitors));
  return std::unique_ptr<X11FrameGround>(
      new X11AreaGround(session, request, std::move(displays), displayArea, area));
}

void X11AreaGround::note(const xcb_generic_event_t& event) { own_.note(event); }

Result<void> X11AreaGround::update() {
  const auto monitors = VT_TRY(session_.monitors());
  const PixelRect now = VT_TRY(areaOf(displays_, monitors));
  if (now != displayArea_) return failed(FailureKind::notFound, "the displays have changed");
  return {};
}

Result<bool> X11AreaGround::ownWindowsAreNear() {
  if (!session_.hasComposite() || !session_.hasRender()) return false;
  return own_.areOver(area_);
}

Result<void> X11AreaGround::readAtOnce(X11FramePictures& pictures,
                                       const X11FramePictures::Picture& picture) const {
  const xcb_screen_t& screen = session_.screen();
  VT_TRY(pictures.read(screen.root, area_, screen.root_depth, screen.root_visual, picture, 0, 0));
  blankUnseen(area_, VT_TRY(session_.monitors()), picture.buffer);
  return {};
}

Result<bool> X11AreaGround::draw(X11FramePictures& pictures,
                                 const X11FramePictures::Picture& picture,
                                 const std::function<void()>& handleEvents) {
  handleEvents();
  if (!VT_TRY(ownWindowsAreNear())) {
    composing_.reset();
    const auto done = readAtOnce(pictures, picture);
    // All that happened before the pixels were read has been told of by now.
    handleEvents();
    if (done && !VT_TRY(ownWindowsAreNear())) return true;
  }
  if (!composing_) composing_.emplace(session_, kept_);
  const auto monitors = VT_TRY(session_.monitors());
  VT_TRY(composing_->read(area_, monitors, own_.vacated(), picture.buffer));
  return true;
}

}  // namespace vantorel
