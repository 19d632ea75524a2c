#include "platform/linux/recognition/code_reader.hpp"

#define ZX_USE_UTF8 1
#include <ZXing/ReadBarcode.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <string>
#include <string_view>

#include "base/log.hpp"
#include "base/utf8.hpp"

namespace vantorel {
namespace {

using ZXing::BarcodeFormat;

/// Pictures are looked at in parts of this height, which share the half of it with the next.
constexpr int bandHeight = 4096;

struct Symbology {
  BarcodeFormat format;
  std::string_view name;
};

// Those without a checksum are found in any striped picture, and are not looked for.
constexpr Symbology symbologies[] = {
    {BarcodeFormat::QRCode, "qr"},     {BarcodeFormat::MicroQRCode, "microQR"},
    {BarcodeFormat::Aztec, "aztec"},   {BarcodeFormat::DataMatrix, "dataMatrix"},
    {BarcodeFormat::PDF417, "pdf417"}, {BarcodeFormat::EAN13, "ean13"},
    {BarcodeFormat::EAN8, "ean8"},     {BarcodeFormat::UPCA, "upca"},
    {BarcodeFormat::UPCE, "upce"},     {BarcodeFormat::Code128, "code128"},
    {BarcodeFormat::Code93, "code93"}, {BarcodeFormat::Code39, "code39"},
};

std::string_view nameOf(BarcodeFormat format) {
  for (const Symbology& symbology : symbologies) {
    if (symbology.format == format) return symbology.name;
  }
  return "other";
}

ZXing::BarcodeFormats allFormats() {
  ZXing::BarcodeFormats formats;
  for (const Symbology& symbology : symbologies) formats |= symbology.format;
  return formats;
}

/// The brightness of a part of a picture, with a white or black rim as a code wants it.
std::vector<std::uint8_t> brightnessOf(const Image& picture, const PixelRect& area) {
  std::vector<std::uint8_t> bright;
  bright.reserve(static_cast<std::size_t>(area.width) * static_cast<std::size_t>(area.height));
  for (int y = area.y; y < area.bottom(); ++y) {
    const auto row = picture.row(y);
    for (int x = area.x; x < area.right(); ++x) {
      const std::uint8_t* const pixel = row.data() + static_cast<std::size_t>(x) * 4;
      const int paper = picture.format() == PixelFormat::bgrx ? 0 : 255 - pixel[3];
      const int sum = 29 * pixel[0] + 150 * pixel[1] + 77 * pixel[2];
      bright.push_back(static_cast<std::uint8_t>(std::min((sum >> 8) + paper, 255)));
    }
  }
  return bright;
}

ReadCode codeOf(const ZXing::Result& result, const PixelRect& area) {
  const auto& corners = result.position();
  int left = area.width;
  int top = area.height;
  int right = 0;
  int bottom = 0;
  for (const auto& corner : corners) {
    left = std::min(left, corner.x);
    top = std::min(top, corner.y);
    right = std::max(right, corner.x + 1);
    bottom = std::max(bottom, corner.y + 1);
  }
  const PixelRect found{area.x + left, area.y + top, std::max(right - left, 1),
                        std::max(bottom - top, 1)};
  // What is no text is told by its bytes.
  std::string payload = result.text();
  if (payload.empty() || !isUtf8(payload)) payload = repairedUtf8(result.bytes().asString());
  return {std::move(payload), std::string(nameOf(result.format())), intersection(found, area)};
}

bool isSame(const ReadCode& a, const ReadCode& b) {
  return a.payload == b.payload && a.symbology == b.symbology &&
         !intersection(a.box, b.box).isEmpty();
}

void add(std::vector<ReadCode>& codes, ReadCode code) {
  // A code without a word in it says nothing, and is most often none.
  if (code.payload.empty()) return;
  for (ReadCode& known : codes) {
    if (!isSame(known, code)) continue;
    // At the end of a part it was seen in part.
    if (known.box.width * known.box.height < code.box.width * code.box.height) known.box = code.box;
    return;
  }
  codes.push_back(std::move(code));
}

}  // namespace

std::vector<ReadCode> codesIn(const Image& picture, const PixelRect& area,
                              const std::stop_token& stop) {
  std::vector<ReadCode> codes;
  ZXing::DecodeHints hints;
  hints.setFormats(allFormats()).setTryHarder(true).setTryRotate(true).setMinLineCount(3);
  ZXing::DecodeHints inverted = hints;
  inverted.setFormats(BarcodeFormat::QRCode | BarcodeFormat::DataMatrix | BarcodeFormat::Aztec);
  try {
    for (int top = area.y; top < area.bottom() && !stop.stop_requested(); top += bandHeight / 2) {
      const PixelRect band{area.x, top, area.width, std::min(bandHeight, area.bottom() - top)};
      std::vector<std::uint8_t> bright = brightnessOf(picture, band);
      for (const bool isInverted : {false, true}) {
        if (stop.stop_requested()) break;
        if (isInverted) {
          for (std::uint8_t& pixel : bright) pixel = static_cast<std::uint8_t>(255 - pixel);
        }
        const ZXing::ImageView view(bright.data(), band.width, band.height,
                                    ZXing::ImageFormat::Lum);
        for (const ZXing::Result& result :
             ZXing::ReadBarcodes(view, isInverted ? inverted : hints)) {
          if (result.isValid()) add(codes, codeOf(result, band));
        }
      }
      if (band.bottom() == area.bottom()) break;
    }
  } catch (const std::exception& error) {
    logWarning("Codes", "{}", error.what());
  }
  return codes;
}

}  // namespace vantorel
