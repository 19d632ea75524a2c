#pragma once

#include <string>
#include <vector>

#include "base/result.hpp"

namespace vantorel {

/// Starts this program once more, in a session of its own that outlives this process. `descriptor`
/// becomes its standard input and output; without one both are nothing.
[[nodiscard]] Result<void> startDetached(const std::vector<std::string>& arguments,
                                         int descriptor = -1);

}  // namespace vantorel
