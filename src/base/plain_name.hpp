#pragma once

#include <string>
#include <string_view>

namespace vantorel {

/// What somebody typed or pasted as a name, on one line that reads as it is written: control
/// characters and ends of lines are spaces, runs of spaces are one, none is at an end, and what
/// turns the direction of the words around it is left out. Empty when nothing of it can be seen.
[[nodiscard]] std::string plainName(std::string_view name);

}  // namespace vantorel
