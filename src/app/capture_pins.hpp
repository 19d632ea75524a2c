#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "app/app_windows.hpp"
#include "app/named_picture.hpp"
#include "app/pin_model.hpp"
#include "app/surface_registry.hpp"
#include "base/lifetime.hpp"
#include "library/entry_look.hpp"
#include "library/library.hpp"
#include "platform/alerts.hpp"

namespace vantorel {

/// Pins captures and picture files above all windows, one pin each. A pin shows a capture with
/// everything drawn and covered, and follows what is drawn and covered later; one that can't be
/// drawn any more goes, as what is covered would go on to show. A capture that goes to the Trash
/// keeps its pin: it was put there to be looked at. Lives on the main runner.
class CapturePins {
 public:
  struct Services {
    PinModel::Services model;
    std::shared_ptr<TaskRunner> disk;  ///< reads files; may hang
    std::shared_ptr<Files> files;
    Library& library;
    Alerts& alerts;
    SurfaceRegistry& surfaces;
    AppWindows* windows = nullptr;  ///< null: there are none
    PictureFinish finish;           ///< called on `disk`
  };

  explicit CapturePins(Services services);

  /// Answers when they are on the screen, with those that are not.
  using Pinned = std::function<void(const std::vector<UnopenedPicture>&)>;
  void pinAll(const std::vector<NamedPicture>& pictures, Pinned pinned);

  [[nodiscard]] bool hasPins() const { return !pins_.empty(); }

  /// Whether clicks go through one of them.
  [[nodiscard]] bool letClicksThrough() const;
  void makeClickable();

  /// Gives the keyboard to the pin made last; again, to the one before it, and so on.
  void focusNext();

  /// Told when what these two say may have changed.
  std::function<void()> onChange;

 private:
  struct Pin {
    std::shared_ptr<PinModel> model;
    EntryPointer entry;  ///< as it is shown; null for a file
    Observation observation;
    int number = 0;  ///< in the order they were made
  };
  using One = std::function<void(Result<void, std::string>)>;

  void pinEntry(const std::string& name, One pinned);
  void pinFile(const Path& file, One pinned);
  void pinPicture(const Path& file, const One& pinned);
  void read(const EntryPointer& entry, std::function<void(Result<Image, std::string>)> done);
  [[nodiscard]] bool bringForward(const std::string& key);
  void show(const std::string& key, const std::string& title, Image picture, double scale,
            const EntryPointer& entry, const One& pinned);
  void libraryChanged(const HistoryChange& change);
  void follow(const EntryPointer& entry);
  void closed(const std::string& key);

  Services services_;
  std::map<std::string, Pin> pins_;  ///< by the entry's id or the file's path
  int made_ = 0;
  int focused_ = 0;  ///< the number of the pin that was given the keyboard last
  Observation libraryObservation_;
  Lifetime lifetime_;
};

}  // namespace vantorel
