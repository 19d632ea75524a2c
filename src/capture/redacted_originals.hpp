#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "editor/records/shape.hpp"
#include "platform/files.hpp"

namespace vantorel {

/// What the original of an entry is called in their folder.
[[nodiscard]] inline std::string originalName(const std::string& entryID) {
  return entryID + ".png";
}

/// The folder of untouched originals of captures that Smart Redact covered something in, readable
/// by their owner alone: a PNG file for each entry, and what covers it until the entry says so.
/// Blocks; any runner that may wait for the disk.
class RedactedOriginals {
 public:
  RedactedOriginals(std::shared_ptr<Files> files, Path folder)
      : files_(std::move(files)), folder_(std::move(folder)) {}

  [[nodiscard]] Path original(const std::string& entryID) const;

  /// Where it says what covers the original, until the entry does.
  [[nodiscard]] Path shapesFile(const std::string& entryID) const;

  /// Makes the original safe, with what covers it.
  [[nodiscard]] Result<void> keep(const std::string& entryID, std::string_view png,
                                  const std::vector<Shape>& shapes);

  /// `notFound` when none is kept.
  [[nodiscard]] Result<std::string> read(const std::string& entryID) const;

  /// What covers the original; nothing where that cannot be read.
  [[nodiscard]] std::vector<Shape> shapes(const std::string& entryID) const;

  /// The entry says it now.
  void forgetShapes(const std::string& entryID);

  /// Nothing is covered, and another file is the capture.
  void discard(const std::string& entryID);

 private:
  void remove(const Path& path);

  std::shared_ptr<Files> files_;
  Path folder_;
};

}  // namespace vantorel
