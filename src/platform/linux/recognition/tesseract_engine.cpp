#include "platform/linux/recognition/tesseract_engine.hpp"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <tesseract/baseapi.h>
#include <tesseract/ocrclass.h>
#include <tesseract/resultiterator.h>

#include <algorithm>
#include <exception>
#include <utility>

// clang's own is not installed where the sanitizers run.
#if __has_include(<omp.h>)
#include <omp.h>
#endif

#include "base/utf8.hpp"
#include "platform/linux/recognition/reading_noise.hpp"

namespace vantorel {
namespace {

RecognitionFailure failure(RecognitionFailure::Case what, std::string reason = {}) {
  return {what, std::move(reason)};
}

bool isStopRequested(void* stop, int /*words*/) {
  return static_cast<const std::stop_token*>(stop)->stop_requested();
}

PixelRect boxOf(const tesseract::PageIterator& at, tesseract::PageIteratorLevel level) {
  int left = 0;
  int top = 0;
  int right = 0;
  int bottom = 0;
  if (!at.BoundingBox(level, &left, &top, &right, &bottom)) return {};
  return {left, top, right - left, bottom - top};
}

/// A letter that can be kept: no blank, and UTF-8.
std::string letterAt(const tesseract::ResultIterator& at) {
  const std::unique_ptr<char[]> text(at.GetUTF8Text(tesseract::RIL_SYMBOL));
  std::string letter = text == nullptr ? "" : repairedUtf8(text.get());
  std::erase_if(letter, [](char c) { return static_cast<unsigned char>(c) <= ' '; });
  return letter;
}

/// From left to right within a line. The iterator's own steps go by the direction of each line's
/// script, and look through the page from its beginning at every letter for it.
std::vector<ReadBlock> blocksOf(tesseract::ResultIterator& at, bool isOneLine) {
  const auto begins = [&](tesseract::PageIteratorLevel level) {
    return at.PageIterator::IsAtBeginningOf(level);
  };
  std::vector<ReadBlock> blocks;
  std::vector<float> confidences;
  const auto endLine = [&] {
    if (blocks.empty() || blocks.back().lines.empty()) return;
    ReadLine& line = blocks.back().lines.back();
    if (!isOneLine) markNoise(line, confidences);
    std::erase_if(line.words, [](const ReadWord& word) { return word.letters.empty(); });
    if (line.words.empty()) blocks.back().lines.pop_back();
    confidences.clear();
  };
  do {
    if (at.Empty(tesseract::RIL_SYMBOL)) continue;
    const bool isNewBlock = blocks.empty() || begins(tesseract::RIL_BLOCK);
    const bool isNewLine = isNewBlock || confidences.empty() || begins(tesseract::RIL_TEXTLINE);
    if (isNewLine) endLine();
    if (isNewBlock) blocks.emplace_back();
    std::vector<ReadLine>& lines = blocks.back().lines;
    if (isNewLine) {
      lines.emplace_back();
      lines.back().box = boxOf(at, tesseract::RIL_TEXTLINE);
      lines.back().confidence = at.Confidence(tesseract::RIL_TEXTLINE) / 100;
    }
    std::vector<ReadWord>& words = lines.back().words;
    if (words.empty() || begins(tesseract::RIL_WORD)) {
      words.emplace_back();
      words.back().box = boxOf(at, tesseract::RIL_WORD);
      confidences.push_back(at.Confidence(tesseract::RIL_WORD) / 100);
    }
    std::string letter = letterAt(at);
    if (letter.empty()) continue;
    words.back().letters.push_back({std::move(letter), boxOf(at, tesseract::RIL_SYMBOL),
                                    at.Confidence(tesseract::RIL_SYMBOL) / 100});
  } while (at.PageIterator::Next(tesseract::RIL_SYMBOL));
  endLine();
  std::erase_if(blocks, [](const ReadBlock& block) { return block.lines.empty(); });
  return blocks;
}

}  // namespace

TesseractEngine::TesseractEngine(std::unique_ptr<tesseract::TessBaseAPI> api,
                                 std::vector<std::string> languages)
    : api_(std::move(api)), languages_(std::move(languages)) {}

TesseractEngine::~TesseractEngine() = default;

Result<std::unique_ptr<TesseractEngine>, RecognitionFailure> TesseractEngine::start(
    const Path& folder, const std::vector<std::string>& languages) {
  using Case = RecognitionFailure::Case;
  auto api = std::make_unique<tesseract::TessBaseAPI>();
  const std::vector<std::string> names{"debug_file"};
  const std::vector<std::string> values{"/dev/null"};
  const std::string all = fmt::format("{}", fmt::join(languages, "+"));
  if (api->Init(folder.c_str(), all.c_str(), tesseract::OEM_LSTM_ONLY, nullptr, 0, &names, &values,
                false) != 0) {
    return std::unexpected(failure(
        Case::unavailable, fmt::format("the language data in {} is damaged", folder.native())));
  }
  // Light letters on dark ground are turned before.
  api->SetVariable("tessedit_do_invert", "0");
  return std::unique_ptr<TesseractEngine>(new TesseractEngine(std::move(api), languages));
}

Result<std::vector<ReadBlock>, RecognitionFailure> TesseractEngine::read(
    const InkPage& paper, bool isOneLine, const std::stop_token& stop) {
  using Case = RecognitionFailure::Case;
  // Its own threads wait for each other in busy loops: on a machine that has other work to do a
  // page takes six times as long with them.
#if __has_include(<omp.h>)
  omp_set_max_active_levels(0);
#endif
  try {
    api_->SetPageSegMode(isOneLine ? tesseract::PSM_SINGLE_LINE : tesseract::PSM_AUTO);
    api_->SetImage(paper.ink.data(), paper.size.width, paper.size.height, 1, paper.size.width);
    api_->SetSourceResolution(150);
    tesseract::ETEXT_DESC monitor;
    monitor.cancel = isStopRequested;
    monitor.cancel_this = const_cast<std::stop_token*>(&stop);
    const int answer = api_->Recognize(&monitor);
    std::vector<ReadBlock> blocks;
    if (answer == 0 && !stop.stop_requested()) {
      const std::unique_ptr<tesseract::ResultIterator> at(api_->GetIterator());
      if (at != nullptr) blocks = blocksOf(*at, isOneLine);
    }
    api_->Clear();
    if (stop.stop_requested()) return std::unexpected(failure(Case::cancelled));
    if (answer != 0) return std::unexpected(failure(Case::failed, "the recogniser gave up"));
    return blocks;
  } catch (const std::exception& error) {
    api_->Clear();
    return std::unexpected(failure(Case::failed, error.what()));
  }
}

}  // namespace vantorel
