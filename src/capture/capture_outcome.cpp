#include "capture/capture_outcome.hpp"

#include <fmt/format.h>

#include <utility>

namespace vantorel {
namespace {

std::string closed(std::string reason) {
  if (!reason.ends_with('.')) reason += '.';
  return reason;
}

}  // namespace

std::string sentence(const CaptureFailure& failure) {
  switch (failure.what) {
    case CaptureFailure::Case::writeFailed:
      return "Couldn't save the screenshot: " + closed(failure.reason);
    case CaptureFailure::Case::interrupted:
      return "Couldn't capture the screen: " + closed(failure.reason);
    case CaptureFailure::Case::permissionDenied:
      return "Vantorel isn't allowed to capture the screen. Allow it in the desktop's settings, "
             "then try again.";
    case CaptureFailure::Case::screenCaptureDidNotAnswer:
      return "Couldn't capture the screen: the screen capture service didn't respond in time.";
  }
  std::unreachable();
}

std::string sentence(const CaptureNote& note) {
  struct Words {
    std::string operator()(const note::LossyFallback& fallback) const {
      if (fallback.isLarger) {
        return fmt::format("{} would have made this picture larger, so it was saved as PNG.",
                           displayName(fallback.wanted));
      }
      return fmt::format("{} couldn't hold this picture, so it was saved as PNG.",
                         displayName(fallback.wanted));
    }
    std::string operator()(const note::StorageUnavailable& unavailable) const {
      std::string text =
          "The screenshots folder can't be used, so this capture was saved in Vantorel's default "
          "folder instead";
      if (unavailable.error) text += " (" + *unavailable.error + ")";
      return text + ".";
    }
    std::string operator()(const note::PublishedInStagingFolder& published) const {
      return fmt::format(
          "No captures folder could be used, so this capture stays at {} until one can.",
          published.path.string());
    }
  };
  return std::visit(Words{}, note);
}

std::string redactedWords(std::size_t covered) {
  if (covered == 0) return {};
  return fmt::format("Redacted {} {}", covered, covered == 1 ? "item" : "items");
}

std::vector<std::string> remarksOn(const CaptureOutcome::Saved& saved) {
  std::vector<std::string> all;
  for (const CaptureNote& note : saved.notes) all.push_back(sentence(note));
  if (!saved.indexFailure.empty()) all.push_back(saved.indexFailure);
  all.insert(all.end(), saved.remarks.begin(), saved.remarks.end());
  return all;
}

}  // namespace vantorel
