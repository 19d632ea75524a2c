#include "text/edited_reading.hpp"

namespace vantorel {

std::string recognisedText(const OCRBlock& block) {
  std::string text;
  for (const OCRLine& line : block.lines) {
    if (&line != &block.lines.front()) text += '\n';
    text += line.text;
  }
  return text;
}

std::string recognisedText(const std::vector<OCRBlock>& blocks) {
  return EditedReading{.blocks = blocks, .edited = {}}.document().text();
}

std::string EditedDocument::text() const {
  std::string text;
  for (const Piece& piece : pieces) text += piece.text + piece.separator;
  return text;
}

std::string EditedReading::textOf(int block) const {
  std::string text = recognisedText(blocks[static_cast<std::size_t>(block)]);
  if (!edited || edited->parked) return text;
  for (const BlockEdit& edit : edited->blocks) {
    if (edit.block == block && edit.original == text) return edit.text;
  }
  return text;
}

EditedDocument EditedReading::document() const {
  EditedDocument document;
  const int count = static_cast<int>(blocks.size());
  for (int block = 0; block < count; ++block) {
    document.pieces.push_back({block, block + 1 < count ? "\n\n" : "", textOf(block)});
  }
  return document;
}

std::string EditedReading::text() const {
  if (edited && !edited->parked && edited->document && edited->basis == recognisedText(blocks)) {
    return *edited->document;
  }
  return document().text();
}

}  // namespace vantorel
