#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/history_actions.hpp"
#include "app/history_collections.hpp"
#include "base/observers.hpp"
#include "editor/text_hits.hpp"
#include "library/history_counts.hpp"
#include "library/history_listing.hpp"
#include "library/history_selection.hpp"
#include "library/picture_loader.hpp"
#include "library/preview_cache.hpp"
#include "library/retention_outlook.hpp"

namespace vantorel {

/// What of the History window is other than it was.
struct HistoryModelChange {
  bool listing = false;    ///< entries, sections, or what they look like; the selection too
  bool selection = false;  ///< what is selected, or which entry has the focus
  bool sidebar = false;
  bool status = false;  ///< footer, progress, band
  bool undo = false;
  bool reach = false;  ///< files went out of reach or came back; the listing too
};

/// A line of the sidebar.
struct HistorySidebarRow {
  HistoryScope scope = HistoryScope::all;
  std::string collectionID{};
  std::string label;
  std::size_t count = 0;
  std::optional<CollectionColor> color{};  ///< of a collection
  bool isFiledInto = false;                ///< new captures go there
  bool isShown = false;                    ///< what the window shows now
};

/// Why nothing is listed.
struct HistoryBlank {
  enum class Kind {
    loading,
    closed,           ///< the library cannot be looked at
    nothingCaptured,  ///< no capture at all
    emptyScope,
    emptyCollection,
    nothingFound,
  };
  Kind kind = Kind::loading;
  std::string title;
  std::string text{};
  bool isNarrowed = false;  ///< a part of the library was searched, or a filter is on
};

/// What the History window shows and decides. Lives on the main runner.
class HistoryModel {
 public:
  struct Services {
    std::shared_ptr<TaskRunner> main;
    std::shared_ptr<TaskRunner> reading;  ///< reads the texts that are searched
    Library& library;
    SettingsStore& settings;
    HistoryActions::Services actions;
    std::shared_ptr<PreviewCache> previews;
    std::shared_ptr<PictureLoader> pictures;
    DayOf dayOf;

    /// Has it told when files went out of reach or came back.
    std::function<Observation(std::function<void()>)> observeReach;

    /// Has it told when another program's index was found in the library's place.
    std::function<Observation(std::function<void(const ForeignIndex&)>)> observeForeignIndex;

    /// The key that captures an area, "Print"; empty when there is none.
    std::function<std::string()> captureKey;
    std::function<void()> captureArea;
  };

  explicit HistoryModel(Services services);

  /// What changed; the changes of a batch come as one.
  Observation observe(std::function<void(const HistoryModelChange&)> observer) {
    return observers_.add(std::move(observer));
  }

  // What is listed.

  [[nodiscard]] const HistoryListing& listing() const { return listing_; }
  [[nodiscard]] const HistoryStore& store() const { return services_.library.store(); }
  void setQuery(HistoryQuery query);
  void show(HistoryScope scope, const std::string& collectionID = {});
  void search(const std::string& text);
  /// The line of an entry's text that the search has found; empty without one.
  [[nodiscard]] const TextSnippet& snippetOf(std::size_t place) const {
    return foundAt(place).line;
  }

  /// Where on its picture, as it is shown: fractions of it.
  [[nodiscard]] const std::vector<Box>& hitsOf(std::size_t place) const {
    return foundAt(place).boxes;
  }

  void removeFilter(HistoryFilter filter) { setQuery(listing_.query().without(filter)); }

  /// Stays for as long as the window is open.
  void sortBy(HistorySort::By by);

  /// Searches in all captures, without filters.
  void searchEverything();
  void clearSearch();

  /// When nothing is listed, why.
  [[nodiscard]] std::optional<HistoryBlank> blank() const;

  /// How many captures came from which application, by name.
  [[nodiscard]] const std::map<std::string, std::size_t>& applications() const {
    return counts_.applications();
  }

  /// What is in the way of its file, as it was last looked for.
  [[nodiscard]] FileReach reachOf(const ScreenshotEntry& entry) const {
    return services_.actions.reachOf(entry);
  }
  [[nodiscard]] bool isOutOfReach(const ScreenshotEntry& entry) const {
    return reachOf(entry) != FileReach::there;
  }

  void captureArea() { services_.captureArea(); }

  [[nodiscard]] PreviewCache& previews() { return *services_.previews; }
  [[nodiscard]] PictureLoader& pictures() { return *services_.pictures; }

  // What is selected.

  [[nodiscard]] const HistorySelection& selection() const { return selection_; }
  void select(const std::function<void(HistorySelection&)>& change);

  /// One capture alone is looked at, that with the focus: what is done is done with it, whatever
  /// else is selected behind it.
  void setLookingAtOne(bool isLooking);

  // Beside it.

  [[nodiscard]] std::vector<HistorySidebarRow> sidebar() const;

  /// "12,408 captures · 8.2 GB · 14 go to the Trash on Monday".
  [[nodiscard]] std::string summary() const;

  /// "3 selected", and how large they are, "1.4 MB"; empty when it is not known.
  [[nodiscard]] std::string selectionText() const;
  [[nodiscard]] std::string selectionSize() const;

  /// What was said last: of an action, or else of the library.
  [[nodiscard]] const std::optional<HistoryNotice>& notice() const {
    return notice_ ? notice_ : state_;
  }

  /// What is wrong with the library, whatever was said of actions since.
  [[nodiscard]] const std::optional<HistoryNotice>& state() const { return state_; }
  void dismissNotice();

  // What can be done with what is selected.

  [[nodiscard]] std::optional<std::string> obstacle(HistoryAction action) const {
    return actions_.obstacle(action, subjects());
  }

  /// What is said of those selected that it would not be done with; empty when it is none.
  [[nodiscard]] std::string leftOut(HistoryAction action) const {
    return actions_.share(action, subjects()).leftOut;
  }

  /// Whether it cannot be done, which is said. What was said of an action before it goes.
  bool refuses(HistoryAction action);

  /// Says with which of those selected it was not done; nothing when it was with all.
  void sayLeftOut(HistoryAction action);

  /// What that is: the selected ones, or the one that is looked at.
  [[nodiscard]] EntryList subjects() const;
  [[nodiscard]] HistoryActions& actions() { return actions_; }
  [[nodiscard]] const std::optional<HistoryProgress>& progress() const {
    return actions_.progress();
  }

  /// Whether a star would be taken away: all have one.
  [[nodiscard]] bool areStarred() const;

  /// Their collections: those that all of them are in.
  [[nodiscard]] std::vector<std::string> commonCollections() const;
  void toggleStar();
  void trash();
  void remove();

  // Collections.

  Result<std::string> createCollection(const std::string& name);
  void renameCollection(const std::string& id, const std::string& name);
  void removeCollection(const std::string& id);
  void moveCollection(const std::string& id, std::size_t place);
  void fileInto(const std::optional<std::string>& id) { collections_.fileInto(id); }

  // What can be undone.

  struct Undo {
    std::string text;                  ///< "2 captures deleted"
    std::chrono::nanoseconds left{0};  ///< of `undoWindow`
  };
  [[nodiscard]] std::optional<Undo> pendingUndo() const;
  void undo();

 private:
  struct Found {
    TextSnippet line;
    std::vector<Box> boxes;
  };
  [[nodiscard]] const Found& foundAt(std::size_t place) const;

  void follow(const HistoryChange& change);
  void refreshSoon();
  void refresh();
  void queryChanged();
  void readTextsSoon();
  void readTexts();
  void followDisk();
  void followRefusal();
  void waitForMidnight();
  void say(HistoryNotice notice);
  void dropRefusal();
  void endState();
  void watchSaving();
  void report(const Result<void>& outcome);
  [[nodiscard]] bool isCollectionUndoneFirst() const;
  [[nodiscard]] std::string unreadRemark() const;

  Services services_;
  HistoryListing listing_;
  mutable std::map<EntryPointer, Found> found_;  // of those that were asked for
  HistorySelection selection_{listing_};
  bool isLookingAtOne_ = false;
  HistoryCounts counts_;
  HistoryActions actions_;
  HistoryCollections collections_;
  std::optional<RetentionOutlook> outlook_;
  std::optional<std::uint64_t> bytes_;
  std::optional<HistoryNotice> notice_;  ///< of an action
  std::optional<HistoryNotice> state_;
  std::optional<HistoryAction> refused_;  ///< of which the notice tells
  std::optional<std::string> refusal_;    ///< of changes, that was told
  Observers<HistoryModelChange> observers_;
  HistoryModelChange coming_;
  bool isRefreshing_ = false;
  bool isReadingTexts_ = false;
  Observation storeObservation_;
  Observation undoObservation_;
  Observation settingsObservation_;
  Observation reachObservation_;
  Observation foreignObservation_;
  Lifetime midnight_;
  Lifetime notices_;
  Lifetime lifetime_;
};

}  // namespace vantorel
