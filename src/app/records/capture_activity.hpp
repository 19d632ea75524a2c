#pragma once

#include "base/enum_names.hpp"

namespace vantorel {

/// What may hold the capture exclusivity.
enum class CaptureActivity {
  plainCapture,
  recording,
  scrollingCapture,
  comparisonSession,
  timedCapture,
};

template <>
inline constexpr auto enumNames<CaptureActivity> = std::to_array<EnumName<CaptureActivity>>({
    {CaptureActivity::plainCapture, "plainCapture"},
    {CaptureActivity::recording, "recording"},
    {CaptureActivity::scrollingCapture, "scrollingCapture"},
    {CaptureActivity::comparisonSession, "comparisonSession"},
    {CaptureActivity::timedCapture, "timedCapture"},
});

}  // namespace vantorel
