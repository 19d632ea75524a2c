#pragma once

#include <string>
#include <string_view>

#include "text/records/sensitive_match.hpp"
#include "text/records/visual_detectors.hpp"

namespace vantorel {

/// What finds of a kind are called: "E-mail addresses", "Faces".
[[nodiscard]] std::string_view pluralName(SensitiveMatchKind kind);

/// What one is called: "E-mail address", "Face".
[[nodiscard]] std::string_view singularName(SensitiveMatchKind kind);

/// That these could not be looked for, in a sentence; empty for none.
[[nodiscard]] std::string unavailableSentence(VisualDetectors unavailable);

}  // namespace vantorel
