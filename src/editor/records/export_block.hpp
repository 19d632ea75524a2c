#pragma once

#include <string>

namespace vantorel {

/// Why the picture cannot leave the editor now.
struct ExportBlock {
  enum class Kind {
    stillLoading,
    notLoaded,
    notBuilt,
    layerTooLarge,
    layerMissing,
    paddingTooLarge,
  };
  Kind kind = Kind::stillLoading;
  std::string layerName{};  ///< for the two about one layer
  std::string layerID{};    ///< likewise

  bool operator==(const ExportBlock&) const = default;
};

[[nodiscard]] std::string sentence(const ExportBlock& block);

}  // namespace vantorel
