#include "platform/linux/linux_phone_number_finder.hpp"

#include <cstdlib>
#include <utility>

#include "platform/linux/phone/phone_module.hpp"
#include "platform/linux/program_module.hpp"

namespace vantorel {

LinuxPhoneNumberFinder::LinuxPhoneNumberFinder() : LinuxPhoneNumberFinder(modulesFolder()) {}

LinuxPhoneNumberFinder::LinuxPhoneNumberFinder(Path moduleFolder)
    : moduleFolder_(std::move(moduleFolder)) {}

Result<const PhoneModule*> LinuxPhoneNumberFinder::module() {
  const std::scoped_lock lock(loading_);
  if (module_ != nullptr) return module_;
  const auto entry = moduleEntry(moduleFolder_ / "libvantorel_phone.so", phoneModuleEntryName);
  if (!entry) {
    return failed(FailureKind::unsupported,
                  "the part for telephone numbers " + entry.error().reason);
  }
  module_ = reinterpret_cast<PhoneModuleEntry>(*entry)();
  return module_;
}

Result<std::vector<TextRange>> LinuxPhoneNumberFinder::find(
    std::string_view text, const std::vector<std::string>& regions) {
  return VT_TRY(module())->find(text, regions);
}

std::string sessionLocale() {
  for (const char* const name : {"LC_ALL", "LC_TELEPHONE", "LC_CTYPE", "LANG"}) {
    const char* const value = std::getenv(name);
    if (value != nullptr && *value != '\0') return value;
  }
  return {};
}

}  // namespace vantorel
