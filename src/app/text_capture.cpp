#include "app/text_capture.hpp"

#include <fmt/format.h>

#include <chrono>
#include <utility>

#include "app/text_indexing.hpp"
#include "base/log.hpp"
#include "base/random_id.hpp"
#include "base/round_trip.hpp"
#include "base/utf8.hpp"
#include "library/capture_file_name.hpp"
#include "library/file_reach.hpp"
#include "text/copied_text.hpp"

namespace vantorel {
namespace {

/// In bytes: what a message at the desktop shows of it.
constexpr std::size_t shownText = 240;
constexpr std::chrono::seconds clipboardBound{5};
constexpr int maximumNames = 10'000;

/// A new file with `text` in `chosen`, or else in `own`, which is made when it is missing.
Result<Path> writeText(Files& files, const Path& chosen, const Path& own, const std::string& text,
                       double takenAt) {
  Result<Path> answer = failed(FailureKind::other, "there is no folder for it");
  const Path first = captureFileName("Text", takenAt, "txt");
  for (const Path& folder : {chosen, own}) {
    if (folder == own) VT_TRY(files.makeFolder(own, Privacy::byUmask));
    for (int number = 1; number <= maximumNames; ++number) {
      Path path = folder / (number == 1 ? first : Path(numberedName(first, number)));
      const auto created = files.create(path, text, Privacy::byUmask, Durability::flushed);
      if (created) {
        settleFolder(files, folder);
        return path;
      }
      if (created.error().kind == FailureKind::exists) continue;
      answer = std::unexpected(created.error());
      break;
    }
  }
  return answer;
}

}  // namespace

std::string sentence(const TextCaptureFailure& failure) {
  struct Words {
    std::string operator()(TextCaptureFailure::NoText) const { return "No text was found there."; }
    std::string operator()(TextCaptureFailure::Cancelled) const { return "Cancelled."; }
    std::string operator()(const RecognitionFailure& one) const { return sentence(one); }
    std::string operator()(const CaptureFailure& one) const { return sentence(one); }
    std::string operator()(CaptureRefusal one) const { return sentence(one); }
  };
  return std::visit(Words{}, failure.cause);
}

struct TextCapture::Taking {
  Done done;
  bool isAnsweredAtDesktop = false;
  HandedPicture picture;
  PixelSize size;
  TakenText taken;
  std::optional<TextIndexing::Pause> pause;
  std::optional<PendingArchiveWork::Ticket> ticket;
};

void TextCapture::takeForUser() {
  take({.kind = StillCaptureCommand::Kind::text, .isAnsweredAtDesktop = true},
       [](const Answer&) {});
}

void TextCapture::take(StillCaptureCommand command, Done done, std::function<bool()> begins) {
  const auto taking = std::make_shared<Taking>();
  taking->done = std::move(done);
  taking->isAnsweredAtDesktop = std::exchange(command.isAnsweredAtDesktop, false);
  command.handOver =
      lifetime_.guard([this, taking](HandedPicture picture) { read(taking, std::move(picture)); });
  services_.coordinator.capture(
      std::move(command), lifetime_.guard([this, taking](CaptureReply reply) {
        const auto fail = [&](auto cause) {
          finish(taking, std::unexpected(TextCaptureFailure{std::move(cause)}));
        };
        if (const auto* refused = std::get_if<CaptureRefusal>(&reply)) return fail(*refused);
        auto& outcome = std::get<CaptureOutcome>(reply).value;
        if (auto* failure = std::get_if<CaptureFailure>(&outcome)) return fail(*failure);
        if (std::holds_alternative<CaptureOutcome::Cancelled>(outcome)) {
          fail(TextCaptureFailure::Cancelled{});
        }
      }),
      std::move(begins));
}

void TextCapture::read(const std::shared_ptr<Taking>& taking, HandedPicture picture) {
  taking->ticket =
      services_.coordinator.pendingArchiveWork().begin(QuitFilingNote::Item::stillCapture);
  taking->pause.emplace(services_.indexing);
  taking->size = picture.image.size();
  taking->picture = std::move(picture);
  roundTrip(
      *services_.reading, services_.main,
      [recogniser = services_.recogniser, image = std::move(taking->picture.image),
       scale = taking->picture.scale] {
        return recogniser->read(image, {.pixelsPerPoint = scale}, {});
      },
      lifetime_.guard([this, taking](Result<PictureReading, RecognitionFailure> reading) {
        readEnded(taking, std::move(reading));
      }));
}

void TextCapture::readEnded(const std::shared_ptr<Taking>& taking,
                            Result<PictureReading, RecognitionFailure> reading) {
  taking->pause.reset();
  if (!reading) return finish(taking, std::unexpected(TextCaptureFailure{reading.error()}));
  TakenText& taken = taking->taken;
  taken.reading = pictureText(*reading);
  taken.text = copiedText(taken.reading.blocks, taken.reading.shape,
                          services_.settings.values().joinCopiedTextLines);
  for (const DetectedCode& code : taken.reading.codes) {
    taken.text += (taken.text.empty() ? "" : "\n") + code.payload;
  }
  if (taken.text.empty()) {
    return finish(taking, std::unexpected(TextCaptureFailure{TextCaptureFailure::NoText{}}));
  }
  const auto copied = [this, taking,
                       isAnswered = std::make_shared<bool>(false)](const Result<void>& result) {
    if (std::exchange(*isAnswered, true)) return;
    if (!result) {
      taking->taken.remarks.push_back(fmt::format("Not copied: {}.", clipboard_refusal::text));
    }
    keep(taking);
  };
  Clipboard* const clipboard = services_.clipboard();
  if (clipboard == nullptr) return copied(failed(FailureKind::unreachable, "there is none"));
  clipboard->setText(taken.text, lifetime_.guard(copied));
  services_.main->postAfter(clipboardBound, lifetime_.guard([copied] {
    copied(failed(FailureKind::timedOut, "it does not answer"));
  }));
}

void TextCapture::keep(const std::shared_ptr<Taking>& taking) {
  const SettingsValues& settings = services_.settings.values();
  if (!settings.keepTextClips) return finish(taking, std::move(taking->taken));
  const auto notKept = [this, taking](const std::string& reason) {
    taking->taken.remarks.push_back(fmt::format("The text isn't kept in History: {}.", reason));
    finish(taking, std::move(taking->taken));
  };
  services_.library.whenReady(lifetime_.guard([this, taking, notKept] {
    HistoryStore& store = services_.library.store();
    if (const auto refusal = store.indexRefusal()) return notKept(*refusal);
    struct Written {
      Path path;
      std::optional<FileIdentity> identity;
    };
    roundTrip(
        *services_.work, services_.main,
        [files = services_.files, text = taking->taken.text, takenAt = taking->picture.capturedAt,
         chosen = Path(services_.settings.values().storageDirectory),
         own = services_.defaultFolder]() -> Result<Written> {
          const Path path = VT_TRY(writeText(*files, chosen, own, text, takenAt));
          return Written{path, identifyFile(*files, path)};
        },
        lifetime_.guard([this, taking, notKept](Result<Written> written) {
          if (!written) return notKept(written.error().reason);
          HistoryStore& library = services_.library.store();
          const PictureText& reading = taking->taken.reading;
          ScreenshotEntry entry;
          entry.id = randomID();
          entry.capturedAt = taking->picture.capturedAt;
          entry.path = written->path.string();
          entry.fileIdentity = written->identity;
          entry.medium = CaptureMedium::text;
          entry.captureScale = taking->picture.scale;
          entry.pixelWidth = taking->size.width;
          entry.pixelHeight = taking->size.height;
          entry.sourceApp = taking->picture.sourceApp;
          entry.ocrText = reading.text;
          entry.ocrBlocks = reading.blocks;
          entry.ocrVersion = currentOcrVersion;
          entry.ocrTruncated = reading.isTruncated;
          if (!reading.codes.empty()) entry.codes = reading.codes;
          entry.textShape = reading.shape;
          const auto collection = services_.settings.values().activeCollectionID;
          if (collection && library.findCollection(*collection) != nullptr) {
            entry.collectionIDs.push_back(*collection);
          }
          const std::string id = entry.id;
          if (const auto added = library.add(std::move(entry)); !added) {
            return notKept(added.error().reason);
          }
          taking->taken.entry = library.find(id);
          library.flush(lifetime_.guard([this, taking](Result<void> saved) {
            if (!saved) {
              taking->taken.remarks.push_back(
                  fmt::format("History couldn't be saved yet: {}.", saved.error().reason));
            }
            finish(taking, std::move(taking->taken));
          }));
        }));
  }));
}

void TextCapture::finish(const std::shared_ptr<Taking>& taking, Answer answer) {
  Done done = std::exchange(taking->done, nullptr);
  if (!done) return;
  if (taking->isAnsweredAtDesktop) show(answer);
  done(std::move(answer));
  if (taking->ticket) {
    services_.coordinator.pendingArchiveWork().end(*std::exchange(taking->ticket, std::nullopt));
  }
}

void TextCapture::show(const Answer& answer) {
  if (!answer) {
    if (std::holds_alternative<TextCaptureFailure::Cancelled>(answer.error().cause)) return;
    return services_.alerts.notify("No text copied", sentence(answer.error()));
  }
  std::string body(beginningOf(answer->text, shownText));
  if (body.size() < answer->text.size()) body += "…";
  for (const std::string& remark : answer->remarks) body += "\n" + remark;
  services_.alerts.notify("Text copied", std::move(body));
}

}  // namespace vantorel
