#include "platform/linux/phone/phone_module.hpp"

#include <phonenumbers/phonenumbermatch.h>
#include <phonenumbers/phonenumbermatcher.h>
#include <phonenumbers/phonenumberutil.h>

#include <algorithm>
#include <exception>

namespace vantorel {
namespace {

using i18n::phonenumbers::PhoneNumberMatch;
using i18n::phonenumbers::PhoneNumberMatcher;
using i18n::phonenumbers::PhoneNumberUtil;

/// Looks at one text and region that lead to no number; then it is left as it is.
constexpr int mostTries = 1000;

std::vector<TextRange> numbersIn(const std::string& text, const std::string& region) {
  std::vector<TextRange> found;
  PhoneNumberMatcher matcher(*PhoneNumberUtil::GetInstance(), text, region,
                             PhoneNumberMatcher::VALID, mostTries);
  PhoneNumberMatch match;
  while (matcher.HasNext() && matcher.Next(&match)) {
    found.push_back(
        {static_cast<std::size_t>(match.start()), static_cast<std::size_t>(match.end())});
  }
  return found;
}

Result<std::vector<TextRange>> find(std::string_view text,
                                    const std::vector<std::string>& regions) try {
  const std::string all(text);
  std::vector<TextRange> found;
  const auto isTaken = [&](const TextRange& range) {
    return std::ranges::any_of(found, [&](const TextRange& other) {
      return other.begin < range.end && range.begin < other.end;
    });
  };
  for (const std::string& region : regions.empty() ? std::vector<std::string>{"ZZ"} : regions) {
    for (const TextRange& range : numbersIn(all, region)) {
      if (!isTaken(range)) found.push_back(range);
    }
    // As a rule there is one, and it fills the text.
    if (!found.empty() && found.front().length() + 2 >= all.size()) break;
  }
  std::ranges::sort(found);
  return found;
} catch (const std::exception& error) {
  return failed(FailureKind::other, error.what());
}

}  // namespace

extern "C" __attribute__((visibility("default"))) const PhoneModule* vantorelPhoneModule() {
  static constexpr PhoneModule module{.find = find};
  return &module;
}

}  // namespace vantorel
