#include "scrolling/block_profiles.hpp"

#include <cmath>

namespace vantorel {

BlockProfiles blockProfiles(std::span<const RowDigest> rows, BlockRange blocks, bool brightness) {
  constexpr float flatBlock = 4;
  constexpr float brightnessShare = 0.015625F;
  const auto count = static_cast<std::size_t>(blocks.count());
  BlockProfiles profiles{
      .components = std::vector(count + (brightness ? 1 : 0), std::vector<float>(rows.size())),
      .isTextured = std::vector<float>(rows.size())};
  for (std::size_t y = 0; y < rows.size(); ++y) {
    const std::span means =
        std::span(rows[y].blocks).subspan(static_cast<std::size_t>(blocks.first), count);
    float sum = 0;
    for (const float mean : means) sum += mean;
    const float middle = count > 0 ? sum / static_cast<float>(count) : 0;
    float squares = 0;
    for (const float mean : means) squares += (mean - middle) * (mean - middle);
    if (count > 0 && squares >= flatBlock * static_cast<float>(count)) {
      const float length = std::sqrt(squares);
      for (std::size_t i = 0; i < count; ++i) {
        profiles.components[i][y] = (means[i] - middle) / length;
      }
      profiles.isTextured[y] = 1;
    }
    if (brightness) profiles.components[count][y] = rows[y].mean * brightnessShare;
  }
  return profiles;
}

}  // namespace vantorel
