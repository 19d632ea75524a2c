#pragma once

#include <mutex>

#include "platform/files.hpp"
#include "platform/phone_number_finder.hpp"

namespace vantorel {

struct PhoneModule;

/// Telephone numbers by the rules of all countries, in a module that the first search loads: some
/// 10 ms, and then 0.03 to 0.2 ms for each stretch of digits in each region. Fails with
/// `unsupported` where the module is missing. Any thread.
class LinuxPhoneNumberFinder final : public PhoneNumberFinder {
 public:
  /// Looks for the module in ../lib/vantorel beside the program's folder.
  LinuxPhoneNumberFinder();

  explicit LinuxPhoneNumberFinder(Path moduleFolder);

  [[nodiscard]] Result<std::vector<TextRange>> find(
      std::string_view text, const std::vector<std::string>& regions) override;

 private:
  [[nodiscard]] Result<const PhoneModule*> module();

  Path moduleFolder_;
  std::mutex loading_;
  const PhoneModule* module_ = nullptr;
};

/// The languages and the country of this session, "de_DE.UTF-8", as the environment has them.
[[nodiscard]] std::string sessionLocale();

}  // namespace vantorel
