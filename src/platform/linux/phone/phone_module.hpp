#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/result.hpp"
#include "text/records/sensitive_match.hpp"

namespace vantorel {

/// What the shared module for telephone numbers gives the program: the rules of all countries take
/// time to load and are seldom needed.
struct PhoneModule {
  /// As `PhoneNumberFinder::find`.
  Result<std::vector<TextRange>> (*find)(std::string_view text,
                                         const std::vector<std::string>& regions);
};

/// The name of the one function in the module, of type `PhoneModuleEntry`.
constexpr const char* phoneModuleEntryName = "vantorelPhoneModule";
using PhoneModuleEntry = const PhoneModule* (*)();

}  // namespace vantorel
