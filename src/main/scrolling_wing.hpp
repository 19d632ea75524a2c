#pragma once

#include "app/scrolling_capture.hpp"
#include "main/capture_wing.hpp"

namespace vantorel {

/// What captures a page while it is scrolled. Lives on the main runner.
struct ScrollingWing {
  explicit ScrollingWing(CaptureWing& captures);
  ScrollingWing(const ScrollingWing&) = delete;
  ScrollingWing& operator=(const ScrollingWing&) = delete;
  ~ScrollingWing();

  CaptureWing& captures;
  ScrollingCapture scrolling;
};

}  // namespace vantorel
