#include "base/folded_text.hpp"

#include <gtest/gtest.h>

namespace vantorel {
namespace {

TEST(FoldedText, CaseAndAccentsDoNotCountInTheScriptsOfCaseLetters) {
  EXPECT_EQ(foldedText("Überblick ÉTÉ naïve Łódź Đà Nẵng Øresund"),
            "uberblick ete naive lodz da nang oresund");
  EXPECT_EQ(foldedText("Straße STRASSE Æther œuvre"), "strasse strasse aether oeuvre");
  EXPECT_EQ(foldedText("ΆΓΓΕΛΟΣ άγγελος"), "αγγελοσ αγγελοσ");
  EXPECT_EQ(foldedText("Ёлка ЙОД"), "елка иод");
  // Composed and decomposed names are the same: file managers write either.
  EXPECT_EQ(foldedText("Cafe\u0301"), foldedText("Caf\u00E9"));
  // Other scripts and what is no UTF-8 stay as they are.
  EXPECT_EQ(foldedText("日本語 😀 × ÷"), "日本語 😀 × ÷");
  EXPECT_EQ(foldedText("a\xC3"), "a\xC3");
  EXPECT_EQ(foldedText("\xE2\x82z\xFF"), "\xE2\x82z\xFF");
}

}  // namespace
}  // namespace vantorel
