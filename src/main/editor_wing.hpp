#pragma once

#include "app/capture_annotator.hpp"
#include "app/capture_export.hpp"
#include "app/capture_rewriter.hpp"
#include "main/capture_wing.hpp"

namespace vantorel {

/// What changes captures and draws them. Lives on the main runner.
struct EditorWing {
  explicit EditorWing(CaptureWing& captures);

  CaptureRewriter rewriter;
  CaptureAnnotator annotator;
  CaptureExport exporting;
};

}  // namespace vantorel
