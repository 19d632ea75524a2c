#pragma once

#include <QMimeData>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "library/records/screenshot_entry.hpp"

namespace vantorel {

/// Captures on their way out of the History window: their files; of one picture also its `png`,
/// unless that is empty; and for the window itself, which captures they are.
[[nodiscard]] std::unique_ptr<QMimeData> makeCaptureMimeData(const EntryList& entries,
                                                             const std::string& png);

/// The ids of the captures that are dragged; empty when these are none.
[[nodiscard]] std::vector<std::string> draggedCaptures(const QMimeData& data);

}  // namespace vantorel
