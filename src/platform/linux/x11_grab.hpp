#pragma once

#include "platform/linux/x11_session.hpp"
#include "platform/screen_capture.hpp"

namespace vantorel {

/// Takes one picture from an X server, as `ScreenCapture::grab` promises. On the worker's thread.
[[nodiscard]] Result<GrabbedPicture> grabFromScreen(X11Session& session,
                                                    const GrabRequest& request);

}  // namespace vantorel
