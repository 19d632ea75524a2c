#include "platform/testing/desktop/settings_value.hpp"

namespace vantorel {
namespace {

std::string bytesOf(std::size_t number, int count) {
  std::string bytes;
  for (int place = 0; place < count; ++place) {
    bytes += static_cast<char>(number >> (8 * place) & 0xFFU);
  }
  return bytes;
}

std::string padded(std::string bytes) {
  bytes.resize((bytes.size() + 3) / 4 * 4);
  return bytes;
}

}  // namespace

std::string settingsValue(std::initializer_list<SharedSetting> settings) {
  std::string all = bytesOf(0, 4) + bytesOf(7, 4) + bytesOf(settings.size(), 4);
  for (const auto& [name, value] : settings) {
    const auto* const text = std::get_if<std::string>(&value);
    all += bytesOf(text != nullptr ? 1 : 0, 2) + bytesOf(name.size(), 2) + padded(name);
    all += bytesOf(9, 4);  // the serial number
    all += text != nullptr ? bytesOf(text->size(), 4) + padded(*text)
                           : bytesOf(std::get<std::uint32_t>(value), 4);
  }
  return all;
}

}  // namespace vantorel
