#pragma once

#include <string_view>
#include <vector>

#include "text/records/sensitive_match.hpp"

namespace vantorel {

/// The links (`url`) and the addresses of e-mail (`email`) in `text` (valid UTF-8), in order and
/// without overlaps. Links have a scheme, begin with "www." or are the name of a host below a known
/// top-level domain; a full stop, a bracket or a quotation mark behind them is the sentence's.
/// Numbers of versions, names of files and of packages are no hosts. Takes time in proportion to
/// the text, whatever it is.
[[nodiscard]] std::vector<SensitiveMatch> linksIn(std::string_view text);

}  // namespace vantorel
