#include "app/text_pane.hpp"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <utility>

#include "base/round_trip.hpp"

namespace vantorel {
namespace {

struct KnownLanguage {
  std::string_view code;    // as its data is named
  std::string_view locale;  // as a session's begins; empty where one does not tell
  std::string_view name;
};

constexpr auto knownLanguages = std::to_array<KnownLanguage>({
    {"ara", "ar", "Arabic"},
    {"bul", "bg", "Bulgarian"},
    {"cat", "ca", "Catalan"},
    {"ces", "cs", "Czech"},
    {"chi_sim", "zh_CN", "Chinese, simplified"},
    {"chi_tra", "zh_TW", "Chinese, traditional"},
    {"dan", "da", "Danish"},
    {"deu", "de", "German"},
    {"ell", "el", "Greek"},
    {"eng", "en", "English"},
    {"est", "et", "Estonian"},
    {"fin", "fi", "Finnish"},
    {"fra", "fr", "French"},
    {"heb", "he", "Hebrew"},
    {"hin", "hi", "Hindi"},
    {"hrv", "hr", "Croatian"},
    {"hun", "hu", "Hungarian"},
    {"ind", "id", "Indonesian"},
    {"ita", "it", "Italian"},
    {"jpn", "ja", "Japanese"},
    {"kor", "ko", "Korean"},
    {"lav", "lv", "Latvian"},
    {"lit", "lt", "Lithuanian"},
    {"nld", "nl", "Dutch"},
    {"nor", "nb", "Norwegian"},
    {"pol", "pl", "Polish"},
    {"por", "pt", "Portuguese"},
    {"ron", "ro", "Romanian"},
    {"rus", "ru", "Russian"},
    {"slk", "sk", "Slovak"},
    {"slv", "sl", "Slovenian"},
    {"spa", "es", "Spanish"},
    {"srp", "sr", "Serbian"},
    {"swe", "sv", "Swedish"},
    {"tha", "th", "Thai"},
    {"tur", "tr", "Turkish"},
    {"ukr", "uk", "Ukrainian"},
    {"vie", "vi", "Vietnamese"},
});

/// Widely read ones, for those whose own is there.
constexpr std::array<std::string_view, 5> usualProposals{"eng", "deu", "fra", "spa", "ita"};

}  // namespace

std::string languageName(std::string_view code) {
  const auto known = std::ranges::find(knownLanguages, code, &KnownLanguage::code);
  return std::string(known == knownLanguages.end() ? code : known->name);
}

void TextPane::lookOnce() {
  if (!std::exchange(hasLooked_, true)) refresh();
}

void TextPane::refresh() {
  hasLooked_ = true;
  if (!services_.recogniser) return;
  looking_.renew();
  roundTrip(
      *services_.work, services_.main,
      [recogniser = services_.recogniser] { return recogniser->languages(); },
      looking_.guard([this](std::vector<std::string> languages) {
        if (std::exchange(isKnown_, true) && languages == languages_) return;
        languages_ = std::move(languages);
        copied_.clear();
        observers_.notify();
      }));
}

std::string TextPane::installed() const {
  if (!isKnown_) return {};
  if (languages_.empty()) return "None";
  std::vector<std::string> names;
  for (const std::string& code : languages_) names.push_back(languageName(code));
  std::ranges::sort(names);
  return fmt::format("{}", fmt::join(names, "; "));
}

std::string TextPane::problem() const {
  return isKnown_ && languages_.empty() ? "No language is installed, so no text can be read."
                                        : std::string();
}

/// The session's own, when it is missing; of one that is told by its country as well, only that.
std::string TextPane::proposedCode() const {
  const auto isMissing = [this](std::string_view code) {
    return std::ranges::find(languages_, code) == languages_.end();
  };
  for (const KnownLanguage& language : knownLanguages) {
    const std::string_view locale = services_.locale;
    const std::size_t length = language.locale.size();
    const bool isOwn =
        locale.starts_with(language.locale) && (locale.size() == length || locale[length] == '_' ||
                                                locale[length] == '.' || locale[length] == '@');
    if (isOwn && isMissing(language.code)) return std::string(language.code);
  }
  const auto usual = std::ranges::find_if(usualProposals, isMissing);
  return usual == usualProposals.end() ? std::string() : std::string(*usual);
}

std::string TextPane::proposed() const { return languageName(proposedCode()); }

std::string TextPane::command() const {
  std::string package = proposedCode();
  if (package.empty()) return "apt search tesseract-ocr-";
  std::ranges::replace(package, '_', '-');
  return "sudo apt install tesseract-ocr-" + package;
}

void TextPane::copyCommand() {
  if (!services_.copy || !isKnown_) return;
  services_.copy(command(), lifetime_.guard([this](const std::string& failure) {
    hasCopyFailed_ = !failure.empty();
    copied_ = failure.empty() ? "Copied" : failure;
    observers_.notify();
  }));
}

}  // namespace vantorel
