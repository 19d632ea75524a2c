#include "library/whole_picture.hpp"

#include <gtest/gtest.h>

namespace vantorel {
namespace {

using namespace std::string_literals;

TEST(WholePictureTest, FilesThatWereCutShortOrFilledUpWithZerosAreNotWhole) {
  const std::string data(5000, '\xA7');
  const std::string pictures[] = {
      "\x89PNG\r\n\x1A\n\0\0\0\x0DIHDR"s + data + "\0\0\0\0IEND\xAE\x42\x60\x82"s,
      "\xFF\xD8\xFF\xE0"s + data + "\xFF\xD9"s,
      "RIFF\x90\x13\0\0WEBPVP8 "s + data,  // as many bytes behind the length
      "\0\0\0\x10"
      "ftypheic\0\0\0\0"
      "\0\0\x13\x90"
      "mdat"s +
          data};
  for (const std::string& picture : pictures) {
    const auto isWhole = [](const std::string& bytes) {
      return isWholePicture(PictureInMemory(bytes));
    };
    const std::string name = picture.substr(0, 12);
    EXPECT_TRUE(isWhole(picture)) << name;
    for (const std::size_t left : {0, 3, 11, 40, 2500, 4900}) {
      const std::string begun = picture.substr(0, left);
      EXPECT_FALSE(isWhole(begun)) << name << left;
      // Where zeros belong to a box no end can tell.
      if (name.find("ftyp") != std::string::npos && left > 20) continue;
      EXPECT_FALSE(isWhole(begun + std::string(picture.size() - left, '\0'))) << name << left;
    }
  }
}

TEST(WholePictureTest, WhatSomebodyAppendedDamagesNothing) {
  const std::string described =
      "\0\0\0\x10"
      "ftypheic\0\0\0\0"
      "\0\0\0\x0C"
      "meta1234"s;
  const std::string picture = described +
                              "\0\0\0\x10"
                              "mdat12345678"s;
  for (const std::string& tail : {std::string(40, 'x'), std::string(40, '\0'), "end"s, ""s}) {
    EXPECT_TRUE(isWholePicture(PictureInMemory(picture + tail))) << tail;
    EXPECT_FALSE(isWholePicture(PictureInMemory(described + std::string(40, 'x')))) << tail;
  }
}

}  // namespace
}  // namespace vantorel
