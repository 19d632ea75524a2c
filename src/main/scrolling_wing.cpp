#include "main/scrolling_wing.hpp"

namespace vantorel {

ScrollingWing::ScrollingWing(CaptureWing& theCaptures)
    : captures(theCaptures),
      scrolling(
          {.main = captures.desktop.main,
           .frames = captures.desktop.lanes.pool.queue("com.hollen.Vantorel.scrolling-frames"),
           .disk = captures.desktop.lanes.disks.queue("com.hollen.Vantorel.scrolling-spool"),
           .clock = captures.desktop.clock,
           .codec = captures.desktop.codec,
           .streams = *captures.desktop.session.frameStreams,
           .screen = *captures.desktop.session.screen,
           .windows = *captures.desktop.session.windows,
           .captures = captures.captures,
           .coordinator = captures.coordinator,
           .settings = captures.desktop.settings,
           .alerts = *captures.desktop.alerts,
           .panel = [ui = captures.desktop.ui]() -> ScrollingPanel* {
             return ui != nullptr ? &ui->scrollingPanel() : nullptr;
           }}) {
  captures.coordinator.scrolling = &scrolling;
}

ScrollingWing::~ScrollingWing() { captures.coordinator.scrolling = nullptr; }

}  // namespace vantorel
