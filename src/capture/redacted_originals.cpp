#include "capture/redacted_originals.hpp"

#include "base/json_document.hpp"
#include "base/log.hpp"
#include "editor/records/editor_document.hpp"

namespace vantorel {

Path RedactedOriginals::original(const std::string& entryID) const {
  return folder_ / originalName(entryID);
}

Path RedactedOriginals::shapesFile(const std::string& entryID) const {
  return folder_ / (entryID + ".json");
}

Result<void> RedactedOriginals::keep(const std::string& entryID, std::string_view png,
                                     const std::vector<Shape>& shapes) {
  VT_TRY(files_->makeFolder(folder_, Privacy::ownerOnly));
  VT_TRY(files_->replace(original(entryID), png, Privacy::ownerOnly));
  EditorDocument covering;
  covering.shapes = shapes;
  VT_TRY(files_->replace(shapesFile(entryID), json::toText(covering), Privacy::ownerOnly));
  settleFolder(*files_, folder_);
  return {};
}

Result<std::string> RedactedOriginals::read(const std::string& entryID) const {
  return files_->read(original(entryID));
}

std::vector<Shape> RedactedOriginals::shapes(const std::string& entryID) const {
  const auto text = files_->read(shapesFile(entryID));
  if (!text) return {};
  auto covering = json::fromText<EditorDocument>(*text);
  if (!covering) {
    logWarning("SmartRedact", "{} cannot be read", shapesFile(entryID).string());
    return {};
  }
  return std::move(covering->shapes);
}

void RedactedOriginals::forgetShapes(const std::string& entryID) { remove(shapesFile(entryID)); }

void RedactedOriginals::discard(const std::string& entryID) {
  forgetShapes(entryID);
  remove(stagingOf(original(entryID)));
  remove(original(entryID));
}

void RedactedOriginals::remove(const Path& path) {
  const auto removed = files_->remove(path);
  if (removed || removed.error().kind == FailureKind::notFound) return;
  logWarning("SmartRedact", "{} could not be removed: {}", path.string(), removed.error().reason);
}

}  // namespace vantorel
