#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/sensitive_scans.hpp"
#include "base/lifetime.hpp"
#include "base/task_runner.hpp"
#include "editor/editor_model.hpp"
#include "settings/settings_store.hpp"

namespace vantorel {

/// Looks at a picture as `SensitiveScans::scan` does. The scan is given up when what it answers
/// goes.
using ScanPicture = std::function<std::shared_ptr<void>(
    Image picture, double pixelsPerPoint, VisualDetectors enabled,
    std::move_only_function<void(SensitiveScans::Answer)>)>;

/// What should not be shared in the picture of an editor: looks for it, offers it by kind and
/// covers what is chosen. It looks at what the layers show, on all of the canvas and without what
/// is drawn on it; what redactions cover, and what the crop leaves out, is not offered. Lives on
/// the main runner.
class SmartRedactSession {
 public:
  struct Services {
    std::shared_ptr<TaskRunner> main;
    EditorModel& editor;
    SettingsStore& settings;
    /// Draws layers and canvas of `ground`, all of it; an empty picture when that cannot be done.
    std::function<void(EditorDocument ground, std::function<void(Image)> drawn)> draw;
    /// The layers that cannot be shown.
    std::function<std::vector<std::string>()> missingLayers = [] {
      return std::vector<std::string>();
    };
    ScanPicture scan;
    std::function<void()> changed;  ///< of anything that is told here
  };

  explicit SmartRedactSession(Services services);

  /// While it is open the picture is looked at again when it changes, and when the settings say to
  /// look for something else. What was found stays when it
  /// is closed, and a scan under way is given up.
  void open();
  void close();
  [[nodiscard]] bool isOpen() const { return isOpen_; }

  enum class Stage { idle, scanning, found, nothingFound, failed };
  [[nodiscard]] Stage stage() const { return stage_; }
  /// What is to be read in that stage: "Scanning for sensitive text", "Nothing sensitive found.",
  /// why it failed. Empty while finds are offered.
  [[nodiscard]] std::string status() const;
  /// What the last scan could not look for, in sentences; mostly empty.
  [[nodiscard]] std::string remark() const;

  void scanAgain();
  /// Gives up the scan under way; what was found before stays.
  void cancel();

  /// Something sensitive, with a box for each line of it, in canvas pixels.
  struct Find {
    SensitiveMatchKind kind = SensitiveMatchKind::email;
    std::string text;  ///< as it was read; empty for faces and people
    std::vector<Box> boxes;
    bool isChosen = true;
  };
  /// Of the last scan, in reading order as far as the scan has one; places in it are what the
  /// others take for a find. Another list has another `generation`.
  [[nodiscard]] const std::vector<Find>& finds() const { return finds_; }
  [[nodiscard]] int generation() const { return generation_; }

  /// The finds of a kind that can be seen.
  struct Group {
    SensitiveMatchKind kind = SensitiveMatchKind::email;
    std::vector<std::size_t> finds;
    std::size_t chosen = 0;  ///< so many of them are
  };
  [[nodiscard]] const std::vector<Group>& groups() const;

  /// How many finds can be seen, and how many of those are chosen.
  [[nodiscard]] int openFinds() const;
  [[nodiscard]] int chosenFinds() const;

  void choose(SensitiveMatchKind kind, bool isChosen);
  void choose(std::size_t find, bool isChosen);

  [[nodiscard]] RedactStyle style() const { return style_; }
  void setStyle(RedactStyle style);

  /// Covers what is chosen, as one step that can be undone. Answers how many finds.
  int redact();

  /// To be called after every change of the document.
  void documentChanged();

  /// To be called when the capture is another picture.
  void pictureChanged();

 private:
  /// What a scan looked at.
  struct Ground {
    std::shared_ptr<const std::vector<LayerSpec>> layers;
    std::shared_ptr<const CanvasSpec> canvas;
    std::vector<std::string> missing;
    int picture = 0;  ///< so many came before it
    VisualDetectors enabled;
    bool operator==(const Ground& other) const;
  };
  [[nodiscard]] Ground groundNow() const;
  void startScan();
  void detectorsChanged();
  void scanned(SensitiveScans::Answer answer);
  void takeFinds(const std::vector<SmartRedact::Proposal>& proposals);
  [[nodiscard]] bool isSeen(const Find& find) const;
  void derive() const;

  Services services_;
  RedactStyle style_;
  bool isOpen_ = false;
  Stage stage_ = Stage::idle;
  Stage settled_ = Stage::idle;  ///< without the scan under way
  bool looksAtPictures_ = false;
  std::string failure_;
  std::string remark_;
  std::optional<Ground> ground_;  ///< of the last scan, or the one under way
  std::vector<Find> finds_;
  int generation_ = 0;
  int pictures_ = 0;  ///< that came before this one
  std::shared_ptr<void> scan_;
  Observation faces_;
  Observation people_;

  // Follows from the document and the finds.
  mutable bool isDerived_ = false;
  mutable std::vector<Group> groups_;
  mutable std::vector<Box> covers_;

  Lifetime scanning_;
  Lifetime waiting_;
};

}  // namespace vantorel
