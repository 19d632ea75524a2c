#pragma once

#include <functional>
#include <string>

#include "base/result.hpp"

namespace vantorel {

/// Takes away what Smart Redact covered in the capture of that id before it was filed, or covers it
/// again. Answers once it is on the disk, or in a sentence why it could not.
using SwitchRedaction = std::function<void(const std::string& id, bool covers,
                                           std::function<void(Result<void, std::string>)> done)>;

namespace redaction_words {

inline constexpr const char* remove = "Remove Redactions";
inline constexpr const char* reapply = "Redact Again";

}  // namespace redaction_words
}  // namespace vantorel
