#include "library/whole_picture.hpp"

#include <algorithm>
#include <string>
#include <string_view>

namespace vantorel {
namespace {

using namespace std::string_view_literals;

/// Some programs append things of their own to a picture.
constexpr std::uint64_t longestTail = 4096;

/// A HEIC file has a handful of boxes.
constexpr int maximumBoxes = 1000;

std::uint64_t bigEndian(std::string_view bytes) {
  std::uint64_t number = 0;
  for (const char byte : bytes) number = number << 8U | static_cast<unsigned char>(byte);
  return number;
}

std::uint64_t littleEndian(std::string_view bytes) {
  return bigEndian(std::string(bytes.rbegin(), bytes.rend()));
}

bool endsWith(const PictureBytes& bytes, std::string_view mark) {
  const std::uint64_t start = bytes.size() > longestTail ? bytes.size() - longestTail : 0;
  const auto tail = bytes.read(start, longestTail);
  return tail && tail->find(mark) != std::string::npos;
}

/// The file is a row of boxes, each of which says its length; the last one may reach to the end.
/// What comes after the picture and its description is not looked at by those who show it.
bool isRowOfBoxes(const PictureBytes& bytes) {
  std::uint64_t at = 0;
  bool isDescribed = false;
  bool hasPicture = false;
  for (int i = 0; i < maximumBoxes && at < bytes.size(); ++i) {
    const auto header = bytes.read(at, 16);
    const bool isComplete = isDescribed && hasPicture;
    if (!header || header->size() < 8) return isComplete;
    std::uint64_t length = bigEndian(std::string_view(*header).substr(0, 4));
    const std::string type = header->substr(4, 4);
    if (length == 0) return isComplete || type != "\0\0\0\0"sv;
    if (length == 1) length = bigEndian(std::string_view(*header).substr(8));
    if (length < 8 || length > bytes.size() - at) return isComplete;
    isDescribed |= type == "meta";
    hasPicture |= type == "mdat";
    at += length;
  }
  return at == bytes.size();
}

}  // namespace

bool isWholePicture(const PictureBytes& bytes) {
  const auto start = bytes.read(0, 16);
  if (!start || start->size() < 12) return false;
  const std::string_view first(*start);
  if (first.starts_with("\x89PNG\r\n\x1A\n\0\0\0\x0D"sv)) {
    return endsWith(bytes, "\0\0\0\0IEND\xAE\x42\x60\x82"sv);
  }
  if (first.starts_with("\xFF\xD8\xFF"sv)) return endsWith(bytes, "\xFF\xD9"sv);
  if (first.starts_with("RIFF"sv) && first.substr(8, 4) == "WEBP"sv) {
    // No picture's data ends in so many zeros.
    const std::uint64_t filling = std::min<std::uint64_t>(64, bytes.size());
    const auto tail = bytes.read(bytes.size() - filling, filling);
    const bool isFilledUp = tail && tail->find_first_not_of('\0') == std::string::npos;
    return littleEndian(first.substr(4, 4)) + 8 <= bytes.size() && !isFilledUp;
  }
  return first.substr(4, 4) == "ftyp"sv && isRowOfBoxes(bytes);
}

}  // namespace vantorel
