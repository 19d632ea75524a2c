#include "text/sensitive_words.hpp"

#include <utility>

namespace vantorel {

std::string_view pluralName(SensitiveMatchKind kind) {
  switch (kind) {
    case SensitiveMatchKind::email: return "E-mail addresses";
    case SensitiveMatchKind::phone: return "Phone numbers";
    case SensitiveMatchKind::url: return "Links";
    case SensitiveMatchKind::address: return "Postal addresses";
    case SensitiveMatchKind::cardNumber: return "Card numbers";
    case SensitiveMatchKind::iban: return "Bank accounts";
    case SensitiveMatchKind::jwt: return "Web tokens";
    case SensitiveMatchKind::apiKey: return "API keys";
    case SensitiveMatchKind::hexSecret: return "Secrets";
    case SensitiveMatchKind::face: return "Faces";
    case SensitiveMatchKind::person: return "People";
  }
  std::unreachable();
}

std::string_view singularName(SensitiveMatchKind kind) {
  switch (kind) {
    case SensitiveMatchKind::email: return "E-mail address";
    case SensitiveMatchKind::phone: return "Phone number";
    case SensitiveMatchKind::url: return "Link";
    case SensitiveMatchKind::address: return "Postal address";
    case SensitiveMatchKind::cardNumber: return "Card number";
    case SensitiveMatchKind::iban: return "Bank account";
    case SensitiveMatchKind::jwt: return "Web token";
    case SensitiveMatchKind::apiKey: return "API key";
    case SensitiveMatchKind::hexSecret: return "Secret";
    case SensitiveMatchKind::face: return "Face";
    case SensitiveMatchKind::person: return "Person";
  }
  std::unreachable();
}

std::string unavailableSentence(VisualDetectors unavailable) {
  const bool noFaces = unavailable.contains(VisualDetectors::faces);
  const bool noPeople = unavailable.contains(VisualDetectors::people);
  if (!noFaces && !noPeople) return {};
  const std::string what = noFaces && noPeople ? "Faces and people" : noFaces ? "Faces" : "People";
  return what + " couldn't be looked for: the package opencv-data or OpenCV itself is missing.";
}

}  // namespace vantorel
