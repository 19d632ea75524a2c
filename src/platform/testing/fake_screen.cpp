#include "platform/testing/fake_screen.hpp"

#include <algorithm>

namespace vantorel {

FakeScreen::FakeScreen(std::shared_ptr<TaskRunner> main) : main_(std::move(main)) {}

void FakeScreen::connect(const std::string& id, PixelSize pixels, double scale) {
  DisplaySnapshot display{.id = id,
                          .uuid = "uuid-" + id,
                          .name = id,
                          .bounds = {},
                          .pixelSize = pixels,
                          .isMain = connected.empty()};
  display.bounds = {connected.empty() ? 0 : connected.back().bounds.right(), 0,
                    pixels.width / scale, pixels.height / scale};
  connected.push_back(display);
}

void FakeScreen::answer(Task task) {
  if (isSilent) {
    held_.push_back(std::move(task));
  } else {
    main_->post(std::move(task));
  }
}

void FakeScreen::answerAll() {
  isSilent = false;
  while (!held_.empty()) {
    main_->post(std::move(held_.front()));
    held_.pop_front();
  }
}

int FakeScreen::numberIn(const Image& image) { return image.row(0)[0] + image.row(0)[1] * 256; }

Result<GrabbedPicture> FakeScreen::paint(const GrabRequest& request) {
  if (grabFails) return std::unexpected(*grabFails);
  GrabbedPicture picture{.image = {}, .scale = 1, .target = request.target};
  PixelSize size;
  if (const auto* window = std::get_if<WindowTarget>(&request.target)) {
    const auto found = std::ranges::find(open, window->windowID, &WindowSnapshot::windowID);
    if (found == open.end()) return failed(FailureKind::notFound, "the window has closed");
    size = {static_cast<int>(found->frame.width), static_cast<int>(found->frame.height)};
  } else if (std::holds_alternative<AllDisplaysTarget>(request.target)) {
    picture.scale = connected.front().scale();
    for (const DisplaySnapshot& display : connected) {
      size.width += display.pixelSize.width;
      size.height = std::max(size.height, display.pixelSize.height);
    }
  } else {
    const auto* region = std::get_if<RegionTarget>(&request.target);
    const DisplayID& id =
        region != nullptr ? region->displayID : std::get<DisplayTarget>(request.target).displayID;
    const DisplaySnapshot* const display = findDisplay(connected, id);
    if (display == nullptr) return failed(FailureKind::notFound, "the display has gone");
    picture.scale = display->scale();
    const PixelRect whole{0, 0, display->pixelSize.width, display->pixelSize.height};
    const PixelRect part =
        region != nullptr ? intersection(toPixels(region->rect, picture.scale), whole) : whole;
    size = {part.width, part.height};
  }
  MutableImage canvas(size, PixelFormat::bgrx);
  ++grabs;
  canvas.row(0)[0] = static_cast<std::uint8_t>(grabs % 256);
  canvas.row(0)[1] = static_cast<std::uint8_t>(grabs / 256);
  picture.image = std::move(canvas).finish();
  return picture;
}

void FakeScreen::displays(Reply<std::vector<DisplaySnapshot>> reply) {
  answer([this, reply = std::move(reply)]() mutable { reply(connected); });
}

void FakeScreen::grab(GrabRequest request, Reply<GrabbedPicture> reply) {
  requests.push_back(request);
  answer([picture = paint(request), reply = std::move(reply)]() mutable {
    reply(std::move(picture));
  });
}

void FakeScreen::permission(std::move_only_function<void(ScreenPermission)> reply) {
  answer([now = permissionNow, reply = std::move(reply)]() mutable { reply(now); });
}

void FakeScreen::requestPermission(std::move_only_function<void(ScreenPermission)> reply) {
  answer([now = permissionNow, reply = std::move(reply)]() mutable { reply(now); });
}

void FakeScreen::windows(std::move_only_function<void(Result<std::vector<WindowSnapshot>>)> reply) {
  answer([this, reply = std::move(reply)]() mutable { reply(open); });
}

}  // namespace vantorel
