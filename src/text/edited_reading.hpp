#pragma once

#include <optional>
#include <string>
#include <vector>

#include "editor/records/edited_text.hpp"
#include "text/records/ocr_block.hpp"

namespace vantorel {

/// What was recognised in a block: its lines, each on a line of its own.
[[nodiscard]] std::string recognisedText(const OCRBlock& block);

/// What was recognised altogether, with an empty line between blocks.
[[nodiscard]] std::string recognisedText(const std::vector<OCRBlock>& blocks);

/// The corrected text of a capture, block by block.
struct EditedDocument {
  struct Piece {
    int block = 0;          ///< index of the recognised block
    std::string separator;  ///< what stands between this block and the next; empty after the last
    std::string text;

    bool operator==(const Piece&) const = default;
  };

  std::vector<Piece> pieces;

  /// The pieces, each with its separator behind it.
  [[nodiscard]] std::string text() const;
};

/// What is known of a capture's text: what was recognised, and how the user corrected it.
///
/// A correction counts only where it was made: that of a block while the block at that place still
/// reads as it did then, that of the whole text while the whole still does. Corrections that are
/// parked wait for their picture to come back and count nowhere.
struct EditedReading {
  std::vector<OCRBlock> blocks;
  std::optional<EditedText> edited;

  [[nodiscard]] EditedDocument document() const;

  /// The text as the user wants it.
  [[nodiscard]] std::string text() const;

 private:
  [[nodiscard]] std::string textOf(int block) const;
};

}  // namespace vantorel
