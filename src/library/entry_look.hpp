#pragma once

#include <functional>

#include "base/image.hpp"
#include "base/result.hpp"
#include "library/records/screenshot_entry.hpp"

namespace vantorel {

/// What of an entry decides how its picture looks: its file, and what is drawn on it. All else is
/// left empty, so that two entries look the same when these are equal.
[[nodiscard]] ScreenshotEntry lookOf(const ScreenshotEntry& entry);

/// Makes of what a capture's file holds the picture that is shown: with everything drawn and
/// covered. Fails where that cannot be done, as what is covered would show; the reason is a
/// sentence. Any thread; blocks.
using PictureFinish = std::function<Result<Image>(const ScreenshotEntry& entry, Image picture)>;

}  // namespace vantorel
