#include "library/capture_file_name.hpp"

#include <gtest/gtest.h>

namespace vantorel {
namespace {

// What is not known again lies in the captures folder for ever when its entry is lost.
TEST(CaptureFileNameTest, EveryNameThatIsMadeIsKnownAgain) {
  constexpr double moment = 1'772'373'909;
  for (const std::string filenameTemplate :
       {"Screenshot", "", "Meeting at 10", "x 2026-03-01 at 14.05.09", "7", " ", "a/b",
        "über.uns"}) {
    Path name = captureFileName(filenameTemplate, moment, "png");
    for (const int number : {2, 10'000, 2}) {
      EXPECT_EQ(timeInCaptureName(name.stem().string()), moment) << name;
      name = numberedName(name, number);
    }
    EXPECT_EQ(timeInCaptureName(name.stem().string()), moment) << name;
  }
}

TEST(CaptureFileNameTest, OtherNamesAreNot) {
  for (const std::string_view stem :
       {"holiday", "holiday 2 2", "2026-03-01 at 14.05.09", " 2026-03-01 at 14.05.09", "",  //
        "Screenshot 2026-13-01 at 14.05.09", "Screenshot 2026-03-01 at 14:05:09",
        "Screenshot 2026-03-01 at 14.05.09 copy", "Screenshot 2026-03-01 at 14.05.09 2 copy",
        "Screenshot 2026-03-01 at 14.05.09 ", "Screenshot 2026-03-01 at 14.05.092",
        "Screenshot 2026-03-01  at 14.05.09", "Screenshot-2026-03-01 at 14.05.09"}) {
    EXPECT_FALSE(timeInCaptureName(stem)) << stem;
  }
}

}  // namespace
}  // namespace vantorel
