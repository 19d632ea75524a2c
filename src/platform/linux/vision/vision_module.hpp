#pragma once

#include "platform/files.hpp"
#include "platform/visual_detector.hpp"

namespace vantorel {

/// Makes a detector with the trained models in `modelFolder`, which is the caller's.
using VisionModuleEntry = VisualDetector* (*)(const Path& modelFolder);

/// The name of the one function in the module that finds faces and people, which is loaded when
/// somebody asks for them.
constexpr const char* visionModuleEntryName = "vantorelVisualDetector";

}  // namespace vantorel
