#pragma once

#include <memory>

#include "app/capture_auto_redact.hpp"
#include "app/capture_redactor.hpp"
#include "app/sensitive_scans.hpp"
#include "app/text_capture.hpp"
#include "app/text_indexing.hpp"
#include "main/capture_wing.hpp"

namespace vantorel {

/// What reads the text of pictures, and finds and covers what is sensitive in them. Nothing of it
/// is loaded before it is needed. Lives on the main runner.
struct TextWing {
  explicit TextWing(CaptureWing& captures);
  ~TextWing();

  /// In the tray: reads what has no text yet, in the background.
  void startResident();

  /// Gives up what is being read.
  void stop();

  CaptureWing& captures;
  const std::shared_ptr<TextRecogniser> recogniser;
  SensitiveScans scans;
  /// Of what is not filed before, with a recogniser of its own: somebody waits for the capture,
  /// whatever else is being read.
  const std::shared_ptr<TextRecogniser> captureRecogniser;
  SensitiveScans captureScans;
  CaptureAutoRedact autoRedact;
  CaptureRedactor redactor;
  TextIndexing indexing;
  TextCapture taking;

 private:
  Observation redactions_;
};

}  // namespace vantorel
