#include "app/kept_layer.hpp"

#include <fmt/format.h>

#include <map>
#include <utility>

#include "app/dragged_files.hpp"
#include "base/random_id.hpp"

namespace vantorel {
namespace {

/// Known by the form of its name, for the library may be anywhere. At worst, a file is copied that
/// would have stayed.
bool isFleeting(const Path& file, const Files& files, const Path& folder) {
  const Path lies = files.resolved(file).value_or(file);
  const Path parent = lies.parent_path();
  if (parent == files.resolved(folder).value_or(folder)) return false;
  if (parent.filename() == keptLayersName) return isRandomID(lies.stem().string());
  return parent.parent_path().filename() == draggedFilesName &&
         isRandomID(parent.filename().string());
}

}  // namespace

Result<LayerFile> keepLayer(Files& files, const ImageCodec& codec, const Path& folder,
                            std::string_view bytes, std::string name) {
  const PictureHeader header = VT_TRY(codec.header(bytes));
  VT_TRY(files.makeFolder(folder, Privacy::ownerOnly));
  const Path file = folder / fmt::format("{}.{}", randomID(), fileExtension(header.format));
  VT_TRY(files.create(file, bytes, Privacy::ownerOnly, Durability::flushed));
  settleFolder(files, folder);
  return LayerFile{file.string(), header.size, std::move(name)};
}

Result<LayerFile> layerOf(const Path& file, Files& files, const ImageCodec& codec,
                          const Path& folder) {
  if (!isFleeting(file, files, folder)) {
    return LayerFile{file.string(), VT_TRY(codec.pixelSize(files, file))};
  }
  std::string name = file.stem().string();
  if (isRandomID(name)) name = pastedLayerName;
  return keepLayer(files, codec, folder, VT_TRY(files.read(file)), std::move(name));
}

Result<void> keepLayers(EditorDocument& document, Files& files, const ImageCodec& codec,
                        const Path& folder) {
  std::map<std::string, std::string> copies;
  for (LayerSpec& layer : document.layers) {
    if (!layer.path || !isFleeting(*layer.path, files, folder)) continue;
    std::string& copy = copies[*layer.path];
    if (copy.empty()) {
      const std::string bytes = VT_TRY(files.read(*layer.path));
      copy = VT_TRY(keepLayer(files, codec, folder, bytes, {})).path;
    }
    layer.path = copy;
  }
  return {};
}

}  // namespace vantorel
