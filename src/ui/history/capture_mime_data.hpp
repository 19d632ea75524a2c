#pragma once

#include <QMimeData>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "library/records/screenshot_entry.hpp"

namespace vantorel {

/// Captures that are dragged in the History window, which can be any, and out of it the files of
/// those that may `leave`; of one picture also its `png`, unless that is empty.
[[nodiscard]] std::unique_ptr<QMimeData> makeCaptureMimeData(const EntryList& entries,
                                                             const EntryList& leave,
                                                             const std::string& png);

/// The ids of the captures that are dragged; empty when these are none.
[[nodiscard]] std::vector<std::string> draggedCaptures(const QMimeData& data);

}  // namespace vantorel
