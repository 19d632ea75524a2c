#pragma once

#include <string>

#include "editor/records/editor_document.hpp"

namespace vantorel {

enum class TextLabel { none, unfinished };

/// What closing would lose: "2 annotations added, the crop changed and the layers changed". Empty
/// when there is nothing to describe.
[[nodiscard]] std::string describeChanges(const EditorDocument& opened, const EditorDocument& now,
                                          TextLabel typing);

}  // namespace vantorel
