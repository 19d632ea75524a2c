#pragma once

namespace vantorel {

/// Calls `visit` with each path an entry keeps (its file, its original, the pictures of its
/// layers), to be read or changed.
void forEachPath(auto& entry, const auto& visit) {
  visit(entry.path);
  if (entry.originalPath) visit(*entry.originalPath);
  if (!entry.layers) return;
  for (auto& layer : *entry.layers) {
    if (layer.path) visit(*layer.path);
  }
}

}  // namespace vantorel
