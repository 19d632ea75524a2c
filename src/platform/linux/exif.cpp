#include "platform/linux/exif.hpp"

#include <cstdint>
#include <cstring>

#include "base/time_text.hpp"

namespace vantorel {
namespace {

constexpr std::string_view prefix("Exif\0\0", 6);

constexpr std::uint16_t orientationTag = 0x0112;
constexpr std::uint16_t detailsTag = 0x8769;  // where the second list of entries is
constexpr std::uint16_t versionTag = 0x9000;
constexpr std::uint16_t timeTag = 0x9003;

enum class Kind : std::uint16_t { text = 2, word = 3, longWord = 4, bytes = 7 };

/// Numbers of either byte order; beyond the end there are zeros.
class Numbers {
 public:
  Numbers(std::string_view bytes, bool bigEndian) : bytes_(bytes), bigEndian_(bigEndian) {}

  [[nodiscard]] std::uint32_t at(std::size_t offset, std::size_t length) const {
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < length; ++i) {
      const std::size_t place = offset + (bigEndian_ ? i : length - 1 - i);
      number = number << 8 | (place < bytes_.size() ? static_cast<std::uint8_t>(bytes_[place]) : 0);
    }
    return number;
  }

 private:
  std::string_view bytes_;
  bool bigEndian_;
};

void append(std::string& to, std::uint32_t number, int length) {
  for (int i = 0; i < length; ++i) to += static_cast<char>(number >> 8 * i & 0xFF);
}

void appendEntry(std::string& to, std::uint16_t tag, Kind kind, std::uint32_t count,
                 std::uint32_t value) {
  append(to, tag, 2);
  append(to, static_cast<std::uint32_t>(kind), 2);
  append(to, count, 4);
  append(to, value, 4);
}

}  // namespace

Orientation orientationIn(std::string_view exif) {
  if (exif.starts_with(prefix)) exif.remove_prefix(prefix.size());
  const bool bigEndian = exif.starts_with("MM");
  if (!bigEndian && !exif.starts_with("II")) return upright;
  const Numbers numbers(exif, bigEndian);
  if (numbers.at(2, 2) != 42) return upright;
  const std::size_t list = numbers.at(4, 4);
  const std::size_t count = numbers.at(list, 2);
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t entry = list + 2 + 12 * i;
    if (entry + 12 > exif.size()) break;
    if (numbers.at(entry, 2) != orientationTag) continue;
    const std::uint32_t value = numbers.at(entry + 8, 2);
    const bool isWord = numbers.at(entry + 2, 2) == static_cast<std::uint32_t>(Kind::word);
    return isWord && value >= 1 && value <= 8 ? static_cast<Orientation>(value) : upright;
  }
  return upright;
}

std::string exifWithTime(double createdAt) {
  constexpr std::uint32_t firstList = 8;
  constexpr std::uint32_t secondList = firstList + 2 + 12 + 4;
  constexpr std::uint32_t afterLists = secondList + 2 + 2 * 12 + 4;
  const std::string time = exifTime(createdAt);
  std::string exif = "II*";
  exif += '\0';
  append(exif, firstList, 4);
  append(exif, 1, 2);
  appendEntry(exif, detailsTag, Kind::longWord, 1, secondList);
  append(exif, 0, 4);
  append(exif, 2, 2);
  appendEntry(exif, versionTag, Kind::bytes, 4, 0x32333230);  // "0232"
  appendEntry(exif, timeTag, Kind::text, static_cast<std::uint32_t>(time.size() + 1), afterLists);
  append(exif, 0, 4);
  return exif + time + '\0';
}

PixelSize turned(PixelSize size, Orientation orientation) {
  return orientation < 5 ? size : PixelSize{size.height, size.width};
}

Image turned(const Image& image, Orientation orientation) {
  if (orientation == upright) return image;
  const PixelSize size = turned(image.size(), orientation);
  MutableImage result(size, image.format());
  const bool swapsSides = orientation >= 5;
  const bool fromRight =
      orientation == 2 || orientation == 3 || orientation == 7 || orientation == 8;
  const bool fromBottom =
      orientation == 3 || orientation == 4 || orientation == 6 || orientation == 7;
  // The place in the source of the first pixel of a row, and from each pixel to the next.
  const auto stride = static_cast<std::ptrdiff_t>(image.stride());
  const std::ptrdiff_t across = fromRight ? -4 : 4;
  const std::ptrdiff_t down = fromBottom ? -stride : stride;
  const std::uint8_t* const corner =
      image.row(fromBottom ? image.height() - 1 : 0).data() +
      (fromRight ? static_cast<std::ptrdiff_t>(image.width() - 1) * 4 : 0);
  const std::ptrdiff_t step = swapsSides ? down : across;
  const std::ptrdiff_t nextRow = swapsSides ? across : down;
  for (int y = 0; y < size.height; ++y) {
    const std::uint8_t* from = corner + y * nextRow;
    std::uint8_t* to = result.row(y).data();
    for (int x = 0; x < size.width; ++x, from += step, to += 4) std::memcpy(to, from, 4);
  }
  return std::move(result).finish();
}

}  // namespace vantorel
