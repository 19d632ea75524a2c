#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "app/annotation_drafts.hpp"
#include "app/edited_capture.hpp"
#include "app/redaction_switch.hpp"
#include "app/still_captures.hpp"
#include "base/image.hpp"
#include "base/lifetime.hpp"
#include "library/entry_claim.hpp"
#include "library/library.hpp"

namespace vantorel {

/// What one editor has open in this program. A picture that is in no library, or whose entry has
/// left it, is filed as a new capture when it is saved, and is that capture from then on. Lives on
/// the main runner.
class OpenedCapture final : public EditedCapture {
 public:
  struct Services {
    std::shared_ptr<TaskRunner> main;
    std::shared_ptr<TaskRunner> work;  ///< encodes pictures
    std::shared_ptr<TaskRunner> disk;  ///< looks for files; may hang
    std::shared_ptr<Files> files;
    std::shared_ptr<const ImageCodec> codec;
    Library& library;
    AnnotationDrafts& drafts;

    /// See `StillCaptures::import`.
    std::function<void(std::shared_ptr<StillCaptures::Import>, StillCaptureFiling::Filed)> import;

    /// Takes the capture out of History, and answers why not.
    std::function<void(const std::string& id, std::function<void(Result<void, std::string>)>)>
        forget;

    /// See `CaptureRedactor::switchTo`; for one that is claimed.
    SwitchRedaction switchRedaction{};
  };

  /// Where it comes from: just one is set.
  struct Origin {
    std::string entryID{};
    Path file{};                                     ///< absolute
    std::shared_ptr<const std::string> clipboard{};  ///< the bytes of a picture file
    std::string called{};                            ///< its title, where it had one before
  };

  OpenedCapture(Services services, Origin origin, EntryClaim claim);

  /// What it is called among the open editors.
  [[nodiscard]] const std::string& key() const { return key_; }
  [[nodiscard]] static std::string keyOf(const Origin& origin);

  /// By what its draft is found.
  [[nodiscard]] std::string draftKey() const;

  /// What was read of it, and what of it is saved.
  void setRead(Image base, std::optional<double> captureScale, EditorDocument stored);

  /// Its entry has changed.
  void entryChanged();

  /// Another program wrote its file. What is saved next is for the picture that was read.
  void fileChanged() { wasChanged_ = true; }

  /// Null when it is not in the library.
  [[nodiscard]] EntryPointer entry() const;

  /// Its entry has left the library, or came back. Without its entry the picture is kept with what
  /// is not saved, for there may be no other.
  void entryLeft();

  /// Told when what is not saved is to be kept anew.
  std::function<void()> onDraftMoved;

  /// Told when it has become the capture of the library that `key` names now.
  std::function<void(const std::string& oldKey)> onFiled;

  /// Told what the user is to know, a sentence.
  std::function<void(const std::string&)> onRemark;

  /// Told when it was taken out of the library as `removeFromHistory` asked.
  std::function<void()> onRemoved;

  [[nodiscard]] std::string title() const override;
  [[nodiscard]] std::string fileStem() const override;
  [[nodiscard]] std::optional<double> capturedAt() const override;
  [[nodiscard]] std::string entryID() const override { return origin_.entryID; }
  [[nodiscard]] Path file() const override;
  [[nodiscard]] bool isInLibrary() const override { return entry() != nullptr; }
  void store(const EditorDocument& document, PixelSize capture,
             std::function<void(Result<void, std::string>)> done) override;
  void keepDraft(const EditorDocument& document, PixelSize capture,
                 std::function<void(const Result<void>&)> kept) override;
  void dropDraft() override;
  void removeFromHistory() override;
  [[nodiscard]] std::optional<KeptRedaction> keptRedaction() const override;
  void switchRedaction(bool covers,
                       std::function<void(Result<Switched, std::string>)> done) override;

 private:
  using Stored = std::function<void(Result<void, std::string>)>;

  [[nodiscard]] AnnotationDraft draftOf(const EditorDocument& document, PixelSize capture) const;
  enum class FileNow { same, gone, other };
  void lookFirst(std::function<void(FileNow)> then);
  void storeInEntry(const EditorDocument& document, PixelSize capture, const Stored& done);
  void fileFirst(const EditorDocument& document, PixelSize capture, const Stored& done);
  void import(const EditorDocument& document, PixelSize capture, const Stored& done);
  void becomeEntry(const std::string& id);
  void carryOver(const std::string& id);
  void takeOver(const std::function<void(Result<Switched, std::string>)>& done);
  void moveDraft(std::shared_ptr<const std::string> picture);

  Services services_;
  Origin origin_;
  std::string key_;
  EntryClaim claim_;
  EntryPointer lastEntry_;  ///< as it was seen last: it may leave the library
  Image base_;
  std::optional<double> captureScale_;
  EditorDocument stored_;
  std::shared_ptr<StillCaptures::Import> import_;  ///< once it was to be filed
  bool wasChanged_ = false;                        ///< the file, by another program
  bool isOther_ = false;                           ///< it has another picture, or none
  std::shared_ptr<const std::string> picture_;     ///< as a file, while its entry has left
  Lifetime lifetime_;
};

}  // namespace vantorel
