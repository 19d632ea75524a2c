#pragma once

#include "platform/files.hpp"
#include "platform/text_recogniser.hpp"

namespace vantorel {

/// Makes a recogniser for the languages in `languageFolder`, which is the caller's.
using RecognitionModuleEntry = TextRecogniser* (*)(const Path& languageFolder);

/// The name of the one function in the module that reads text and codes, which is large, takes much
/// memory and is loaded when a picture is first read.
constexpr const char* recognitionModuleEntryName = "vantorelTextRecogniser";

}  // namespace vantorel
