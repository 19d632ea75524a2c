#include "base/plain_name.hpp"

#include <gtest/gtest.h>

namespace vantorel {
namespace {

TEST(PlainName, ReadsOnOneLineAsItIsWritten) {
  EXPECT_EQ(plainName("  line1\r\nline2\t\x01 end "), "line1 line2 end");
  EXPECT_EQ(plainName("bill \u202Egnp.exe\u2069"), "bill gnp.exe");
  EXPECT_EQ(plainName("a\u2028b\u00A0c\u3000"), "a b c");
  // Scripts need their joiners, marks and signs of direction.
  for (const char* const kept : {"Cafe\u0301", "日本語 😀", "\u200Fשלום", "👩\u200D💻", "नमस्ते"}) {
    EXPECT_EQ(plainName(kept), kept);
  }
  EXPECT_EQ(plainName("\xFF\xE2\x82z"), "\xFF\xE2\x82z") << "no UTF-8, and not lost for it";
}

TEST(PlainName, IsEmptyWhenNothingCanBeSeen) {
  for (const char* const unseen :
       {"", " ", "\n\x7F", "\u0301\u0302 \u0303", "\u200B\uFEFF", "\u2800"}) {
    EXPECT_EQ(plainName(unseen), "");
  }
}

}  // namespace
}  // namespace vantorel
