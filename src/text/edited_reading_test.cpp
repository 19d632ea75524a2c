#include "text/edited_reading.hpp"

#include <gtest/gtest.h>

namespace vantorel {
namespace {

OCRBlock blockOf(const std::vector<std::string>& lines) {
  OCRBlock block;
  for (const std::string& line : lines) block.lines.push_back({line, {}, 1, {}});
  return block;
}

TEST(EditedReadingTest, CorrectionsCountOnlyWhereTheyWereMade) {
  EditedReading reading{{blockOf({"Tota1", "12"}), blockOf({"Thanks"})}, std::nullopt};
  EXPECT_EQ(reading.text(), "Tota1\n12\n\nThanks");

  EditedText edited;
  edited.basis = reading.text();
  edited.blocks = {{0, "Tota1\n12", "Total\n12", {}}, {1, "Thank", "Bye", {}}, {7, "", "x", {}}};
  reading.edited = edited;
  const std::vector<EditedDocument::Piece> pieces{{0, "\n\n", "Total\n12"}, {1, "", "Thanks"}};
  EXPECT_EQ(reading.document().pieces, pieces);
  EXPECT_EQ(reading.text(), "Total\n12\n\nThanks");

  reading.edited->document = "Total 12. Thanks!";
  EXPECT_EQ(reading.text(), "Total 12. Thanks!");
  reading.blocks[1] = blockOf({"Thanks a lot"});  // it was recognised anew
  EXPECT_EQ(reading.text(), "Total\n12\n\nThanks a lot");
  reading.edited->parked = true;
  EXPECT_EQ(reading.text(), "Tota1\n12\n\nThanks a lot");
  EXPECT_EQ(EditedReading{}.text(), "");
}

}  // namespace
}  // namespace vantorel
