#pragma once

#include <functional>

#include "app/app_coordinator.hpp"
#include "app/capture_copying.hpp"
#include "app/still_captures.hpp"
#include "base/lifetime.hpp"
#include "base/observers.hpp"
#include "main/library_wing.hpp"

namespace vantorel {

/// What takes captures, and the coordinator over it. Lives on the main runner.
struct CaptureWing {
  /// `terminate` ends the main loop.
  CaptureWing(LibraryWing& library, std::function<void()> terminate);

  /// Begins to live in the tray. The library is being opened.
  void startResident();

  /// What earlier runs staged is filed once; what this one stages, it files itself. Nothing is
  /// begun in a library that another process has.
  void fileStaged(std::function<void()> filed);

  /// Looks through captures before they are published; set before the first one.
  RedactCapture redact;

  DesktopWing& desktop;
  LibraryWing& libraryWing;
  StillCaptures captures;
  CaptureCopying copying;
  AppCoordinator coordinator;

 private:
  void showCoverLook();

  bool hasFiledStaged_ = false;
  Observation settingsObservation_;
  Lifetime coverLook_;
};

}  // namespace vantorel
