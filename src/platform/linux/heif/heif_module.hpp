#pragma once

#include <string>
#include <string_view>

#include "base/image.hpp"
#include "base/result.hpp"
#include "platform/image_codec.hpp"

namespace vantorel {

/// What the shared module for HEIC gives the program: the codec behind it is large, starts slowly
/// and is seldom needed.
struct HeifModule {
  Result<std::string> (*write)(const Image& image, const ImageEncoding& encoding);
  /// Frames as `ImageCodec` counts them, from 0.
  Result<Image> (*read)(std::string_view bytes, int frameIndex);
  Result<PictureHeader> (*header)(const PictureBytes& bytes, int frameIndex);
};

/// The name of the one function in the module, of type `HeifModuleEntry`.
constexpr const char* heifModuleEntryName = "vantorelHeifModule";
using HeifModuleEntry = const HeifModule* (*)();

}  // namespace vantorel
