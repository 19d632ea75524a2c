#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "app/capture_copying.hpp"
#include "app/capture_export.hpp"
#include "app/capture_rewriter.hpp"
#include "app/capture_weigher.hpp"
#include "app/redaction_switch.hpp"
#include "base/lifetime.hpp"
#include "base/observers.hpp"
#include "capture/capture_outcome.hpp"
#include "capture/staged_redaction.hpp"
#include "library/entry_look.hpp"
#include "library/library.hpp"
#include "platform/clock.hpp"
#include "settings/settings_store.hpp"

namespace vantorel {

/// What can be done with a card's capture, in the order of its buttons.
enum class CardAction { copy, saveAs, open, pin, reveal, trash };

/// One of the formats a capture can be converted to.
struct CardFormat {
  ExportFormat format = ExportFormat::png;
  std::string label;
  std::string size;  ///< "214 kB", or "…" while it is measured
  bool isCurrent = false;
  std::string obstacle;  ///< why it cannot be chosen; empty when it can
};

/// A row below the formats.
struct CardRow {
  std::string label;
  std::string note;      ///< at its end: "about 74 kB"
  std::string obstacle;  ///< why it cannot be chosen; empty when it can
};

/// What opens beside a card, as far as the settings want it.
struct CardRows {
  std::vector<CardFormat> formats;
  std::optional<CardRow> compress;
  std::optional<CardRow> redact;
  std::optional<CardRow> copyText;  ///< where text was read

  [[nodiscard]] bool isEmpty() const { return formats.empty() && !compress && !redact; }
};

/// The thumbnail of a capture that was just made.
struct Card {
  enum class State {
    rest,
    busy,     ///< something is done with it
    failed,   ///< `sentence` says why
    trashed,  ///< `sentence` counts; can be undone until `ends`
  };

  std::uint64_t number = 0;  ///< of this card alone
  EntryPointer entry;
  Image picture;    ///< small: within `CardStack::pictureSize`; empty until it is made
  PixelRect shown;  ///< what was captured, in pixels of the desktop; empty when not known
  State state = State::rest;
  std::string sentence;
  std::string badge;                ///< "Copied", a remark or a movie's length; empty for none
  bool isWarning = false;           ///< the badge is a remark
  bool isTold = false;              ///< the badge says what was just done
  std::chrono::nanoseconds ends{};  ///< of `trashed`, on the monotonic clock
};

/// The cards on the screen, newest first, and what is done with them. Lives on the main runner.
class CardStack {
 public:
  struct Services {
    std::shared_ptr<TaskRunner> main;
    const Clock& clock;
    Library& library;
    SettingsStore& settings;
    CaptureRewriter& rewriter;
    CaptureCopying& copying;
    CaptureExport& exporting;
    CaptureWeigher& weigher;
    std::shared_ptr<TaskRunner> work;  ///< makes thumbnails; may block
    std::shared_ptr<Files> files;
    std::shared_ptr<const ImageCodec> codec;
    PictureFinish finish;

    /// Shows the file among the others of its folder; answers why it could not.
    std::function<void(const Path& file, std::function<void(Result<void>)> done)> reveal;

    /// Opens the capture, a picture in Annotate; answers why it could not.
    std::function<void(const EntryPointer& entry, std::function<void(Result<void>)> done)> open;

    /// Pins the capture above all windows; answers why it could not.
    std::function<void(const EntryPointer& entry, std::function<void(Result<void>)> done)> pin{};

    /// Opens History.
    std::function<void()> openHistory;

    /// Covers what is found to be sensitive in the capture of that id; answers how many finds that
    /// were, or in a sentence why it could not. Empty: there is nothing that looks.
    std::function<void(const std::string& id, std::function<void(Result<int, std::string>)> done)>
        redact{};
    SwitchRedaction switchRedaction{};

    /// Gives a text to the clipboard; answers why it could not, or nothing.
    std::function<void(const std::string& text, std::function<void(const std::string& why)> done)>
        copyText{};
  };

  /// How long "Copied" is read.
  static constexpr std::chrono::seconds copiedTime{2};

  /// Of the thumbnails, in pixels: what a card shows at twice its size.
  static constexpr PixelSize pictureSize{560, 350};

  explicit CardStack(Services services);

  /// A card for a new capture, where the settings want one.
  void add(const CaptureOutcome::Saved& saved);

  /// So many captures are being looked through, or wait for it, before they are filed; each gets
  /// its card after that.
  void setScanned(std::size_t captures) {
    if (std::exchange(scanned_, captures) != captures) changed_.notify();
  }
  /// Of those, what is read where cards are shown; empty for none.
  [[nodiscard]] std::string scanningWords() const {
    return services_.settings.values().showQuickAccessOverlay ? vantorel::scanningWords(scanned_)
                                                              : std::string();
  }

  /// That capture is on the clipboard.
  void copied(const std::string& id);

  /// The card that the keyboard is to have: the newest one, or one for the newest capture. Nothing
  /// when there is no capture.
  std::optional<std::uint64_t> cardForKeyboard();

  /// Newest first.
  [[nodiscard]] const std::deque<Card>& cards() const { return cards_; }
  [[nodiscard]] const Card* find(std::uint64_t number) const;

  /// Told after every change of what cards show.
  [[nodiscard]] Observation observe(std::function<void()> changed) {
    return changed_.add(std::move(changed));
  }

  /// While the pointer or the keyboard is on a card no card goes by itself.
  void setHeld(bool isHeld);

  /// Why the action cannot be done now; empty when it can.
  [[nodiscard]] std::string obstacle(const Card& card, CardAction action) const;

  void copy(std::uint64_t number);
  void open(std::uint64_t number);
  void pin(std::uint64_t number);
  void reveal(std::uint64_t number);
  void trash(std::uint64_t number);
  void undo(std::uint64_t number);

  /// The name that saving it elsewhere begins with, and the format of that file.
  [[nodiscard]] std::string suggestedFileName(const Card& card) const;
  /// In the format that the name's extension says, or the capture's own. A card that went while
  /// somebody chose the file comes back with what became of it.
  void saveAs(const EntryPointer& entry, const Path& file);

  /// What is dragged out of a card: the picture as a PNG file, and the capture's own file, unless
  /// what is drawn on the capture or covered is not in that.
  struct Dragged {
    std::string png;  ///< empty when it could not be made
    std::optional<Path> file;
  };
  void prepareDrag(std::uint64_t number, std::function<void(Dragged)> done);

  /// Away with the card; the capture stays.
  void dismiss(std::uint64_t number);
  void dismissAll();

  /// What stands beside the card. Sizes are measured from `openRows` on until `closeRows`, or
  /// until the rows of another one are opened.
  [[nodiscard]] CardRows rows(const Card& card) const;
  void openRows(std::uint64_t number);
  void closeRows();
  void convert(std::uint64_t number, ExportFormat format);
  void compress(std::uint64_t number);
  /// Covers what should not be shared, or takes away what the last time has covered; what was
  /// covered before the capture was filed is taken away first, and covered again.
  void redact(std::uint64_t number);
  /// The text on it as the user wants it, without what redactions cover.
  void copyText(std::uint64_t number);

  void openHistory() const;
  /// What `open` does with the card's capture: "Annotate" or "Open".
  [[nodiscard]] static std::string openLabel(const Card& card);
  [[nodiscard]] OverlayPosition side() const { return services_.settings.values().overlayPosition; }

  /// Of an undo that still can be had, from 1 to 0.
  [[nodiscard]] double undoLeft(const Card& card) const;

 private:
  struct Weights {
    std::uint64_t card = 0;
    std::string path;  ///< of the file that was measured
    std::vector<CaptureTranscoder::Weight> known;
    CaptureWeigher::Weighing weighing;
  };

  Card* at(std::uint64_t number);
  Card* withEntry(const std::string& id);
  std::uint64_t put(Card card);
  std::uint64_t putAnew(const EntryPointer& entry);
  void readPicture(const Card& card);
  void libraryChanged(const HistoryChange& change);
  void touched(std::uint64_t number);
  void restartTimer();
  void lookAtTimes();
  [[nodiscard]] std::chrono::nanoseconds idleTime() const;
  bool begin(std::uint64_t number);
  void ended(std::uint64_t number, const std::string& failure);
  void rewritten(std::uint64_t number, const RewriteReply& reply);
  void addRedactRow(const Card& card, const std::string& busy, CardRows& rows) const;
  void addTextRow(const Card& card, CardRows& rows) const;
  void switchRedaction(std::uint64_t number, bool covers);
  void redacted(std::uint64_t number, const ScreenshotEntry& before, int finds);
  void undoRedaction(std::uint64_t number);
  void tell(Card& card, std::string badge);
  void measure();
  [[nodiscard]] const CaptureTranscoder::Weight* weightOf(const Card& card,
                                                          std::optional<ExportFormat> format) const;

  /// When a card goes by itself, or its badge does.
  struct Times {
    std::uint64_t card = 0;
    std::chrono::nanoseconds idleLeft{};  ///< as of `since_`
    std::optional<std::chrono::nanoseconds> badgeEnds;
  };
  Times* timesOf(std::uint64_t number);

  /// What `redact` came to.
  struct Redaction {
    int finds = 0;
    std::vector<std::string> shapes;  ///< the ids of what it added
  };

  Services services_;
  std::deque<Card> cards_;
  std::map<std::uint64_t, Redaction> redactions_;  ///< by card
  std::vector<Times> times_;
  std::uint64_t last_ = 0;
  std::size_t scanned_ = 0;
  std::vector<std::string> copiedEarly_;  ///< ids without a card yet
  bool isHeld_ = false;
  std::chrono::nanoseconds since_{};  ///< when idle times were brought up to date
  Weights weights_;
  Observers<> changed_;
  Observation libraryObservation_;
  Observation settingsObservation_;
  Lifetime timer_;
  Lifetime lifetime_;
};

}  // namespace vantorel
