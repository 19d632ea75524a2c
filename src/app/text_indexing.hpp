#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <stop_token>
#include <string>
#include <vector>

#include "base/lifetime.hpp"
#include "base/task_runner.hpp"
#include "library/library.hpp"
#include "platform/image_codec.hpp"
#include "platform/text_recogniser.hpp"
#include "settings/settings_store.hpp"
#include "text/picture_text.hpp"

namespace vantorel {

/// Reads the text of captures in the background and stores it in their entries, while the setting
/// "indexScreenshotText" is on: what was just taken first, then, newest first, what has no current
/// text yet. One picture at a time. Neither a capture nor a quit waits for it: what was not read is
/// read the next time. Lives on the main runner.
class TextIndexing {
 public:
  struct Services {
    std::shared_ptr<TaskRunner> main;

    /// A serial queue of its own, best with little claim on the processor. Reads files, and takes a
    /// second or so of a picture.
    std::shared_ptr<TaskRunner> work;
    std::shared_ptr<Files> files;
    std::shared_ptr<const ImageCodec> codec;
    Library& library;
    SettingsStore& settings;
    std::shared_ptr<TextRecogniser> recogniser;
  };

  explicit TextIndexing(Services services);
  ~TextIndexing();

  /// Begins as soon as the library is ready.
  void start();

  /// Gives up what is being read, and begins nothing more. What has been read is stored.
  void stop();

  using Read = std::function<void(const Result<EntryPointer, RecognitionFailure>&)>;

  /// Reads this capture next, whatever the settings say. `read` is called when its text is current,
  /// at once when it is.
  void read(const std::string& id, Read read);

  /// While it lives nothing is read: somebody who waits needs the recogniser.
  class Pause {
   public:
    explicit Pause(TextIndexing& indexing);
    ~Pause();
    Pause(const Pause&) = delete;
    Pause& operator=(const Pause&) = delete;

   private:
    TextIndexing* indexing_;
    std::weak_ptr<char> isThere_;
  };

  /// Captures without current text, the one that is being read among them.
  [[nodiscard]] std::size_t remaining() const { return waiting_.size() + (reading_ ? 1 : 0); }

  /// Why nothing can be read on this system; nothing when it can, or nobody has tried.
  [[nodiscard]] const std::optional<RecognitionFailure>& hindrance() const { return hindrance_; }

  /// Whether the entry's text is what this version would read.
  [[nodiscard]] static bool isCurrent(const ScreenshotEntry& entry);

 private:
  struct Reading {
    EntryPointer entry;
    bool isUrgent = false;
    std::stop_source stop;
  };
  using Text = Result<PictureText, RecognitionFailure>;

  void follow(const HistoryChange& change);
  void fill();
  void next();
  void begin(const EntryPointer& entry, bool isUrgent);
  void ended(Text text);
  void store();
  void answer(const std::string& id, const Result<EntryPointer, RecognitionFailure>& result);
  void interrupt();

  Services services_;
  std::deque<std::string> waiting_;                         // the next one first
  std::set<std::string> givenUp_;                           // could not be read in this run
  std::multimap<std::string, Read> wanted_;                 // by id
  std::vector<std::pair<EntryPointer, PictureText>> read_;  // not stored yet
  std::unique_ptr<Reading> reading_;
  std::optional<RecognitionFailure> hindrance_;
  int pauses_ = 0;
  bool mayRelease_ = false;
  bool hasStarted_ = false;
  bool hasStopped_ = false;
  Observation libraryObservation_;
  Observation settingsObservation_;
  std::shared_ptr<char> isThere_ = std::make_shared<char>();
  Lifetime lifetime_;
};

}  // namespace vantorel
