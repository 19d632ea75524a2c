#pragma once

#include <string>
#include <vector>

#include "platform/files.hpp"

namespace vantorel {

/// Where the trained data of the text recogniser lies: the folder that TESSDATA_PREFIX names, or
/// that of the newest version installed; empty when there is none.
[[nodiscard]] Path languageFolder();

/// The languages in it, in the order of their names. What knows the direction of a page only
/// ("osd") is none.
[[nodiscard]] std::vector<std::string> languagesIn(const Path& folder);

}  // namespace vantorel
