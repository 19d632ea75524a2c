#include "editor/records/export_block.hpp"

#include <utility>

namespace vantorel {

std::string sentence(const ExportBlock& block) {
  using enum ExportBlock::Kind;
  switch (block.kind) {
    case stillLoading: return "Export is blocked: the screenshot is still loading.";
    case notLoaded: return "Export is blocked: the screenshot couldn't be loaded.";
    case notBuilt: return "Export is blocked: the layered image couldn't be built.";
    case layerTooLarge:
      return "Export is blocked: " + block.layerName + " is too large to build. Hide or remove it.";
    case layerMissing:
      return "Export is blocked: " + block.layerName + " is missing. Hide or remove it.";
    case paddingTooLarge:
      return "Export is blocked: the background padding would make the image too large. Reduce the "
             "padding.";
  }
  std::unreachable();
}

}  // namespace vantorel
