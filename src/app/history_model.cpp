#include "app/history_model.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <utility>

#include "app/text_indexing.hpp"
#include "base/count_text.hpp"
#include "base/plain_name.hpp"
#include "base/size_text.hpp"
#include "editor/capture_text.hpp"
#include "library/entry_failure.hpp"
#include "library/entry_filter.hpp"

namespace vantorel {
namespace {

struct ScopeName {
  HistoryScope scope;
  const char* label;
  const char* nothing;
};
constexpr std::array scopes{ScopeName{HistoryScope::all, "All captures", "Nothing captured yet"},
                            ScopeName{HistoryScope::starred, "Starred", "No starred captures"},
                            ScopeName{HistoryScope::images, "Images", "No images"},
                            ScopeName{HistoryScope::recordings, "Recordings", "No recordings"},
                            ScopeName{HistoryScope::texts, "Texts", "No texts"}};

const ScopeName& nameOf(HistoryScope scope) {
  return *std::ranges::find(scopes, scope, &ScopeName::scope);
}

/// "12,408".
std::string grouped(std::size_t number) {
  std::string text = std::to_string(number);
  for (std::size_t end = text.size(); end > 3; end -= 3) text.insert(end - 3, ",");
  return text;
}

/// What is well is said for so long, and why something was not done.
constexpr std::chrono::seconds passingNotice{4};
constexpr std::chrono::seconds passingRefusal{8};

/// While it says that the library is not saved, it looks so often whether it is.
constexpr std::chrono::seconds savingLook{2};

/// Texts are read once the window stands, in steps that nobody notices.
constexpr std::chrono::milliseconds firstTextPause{400};
constexpr std::chrono::milliseconds textPause{10};
constexpr std::size_t textsAtOnce = 2000;

}  // namespace

HistoryModel::HistoryModel(Services services)
    : services_(std::move(services)),
      listing_(services_.library.store(), services_.library.clock(), services_.dayOf,
               {.main = services_.main, .work = services_.reading, .textOf = captureTextIn}),
      counts_(services_.library.store()),
      actions_(
          services_.actions, [this](HistoryNotice notice) { say(std::move(notice)); },
          [this] { observers_.notify({.status = true}); },
          [this] {
            if (state_ && state_->canRetrySaving) endState();
          }),
      collections_(services_.library, services_.settings, services_.main,
                   [this] { observers_.notify({.undo = true}); }),
      storeObservation_(services_.library.store().observe(
          [this](const HistoryChange& change) { follow(change); })),
      undoObservation_(
          services_.library.deletion().observeUndo([this] { observers_.notify({.undo = true}); })),
      settingsObservation_(services_.settings.observe([this](std::string_view key) {
        if (key == "activeCollectionID") observers_.notify({.sidebar = true, .status = true});
        if (key != "retentionDays") return;
        coming_.status = true;
        refresh();
      })),
      reachObservation_(services_.observeReach([this] {
        if (refused_ && !obstacle(*refused_)) dismissNotice();
        observers_.notify({.listing = true, .status = true, .reach = true});
      })),
      foreignObservation_(services_.observeForeignIndex([this](const ForeignIndex& foreign) {
        refusal_ = store().indexRefusal();
        say({.text = foreign.sentence(), .kind = HistoryNotice::Kind::state});
      })) {
  coming_.status = true;
  refresh();
  services_.library.whenReady(lifetime_.guard([this] {
    followRefusal();
    observers_.notify({.listing = true, .sidebar = true, .status = true});
  }));
  listing_.onTextsRead = [this] {
    coming_.listing = true;
    refreshSoon();
  };
  waitForMidnight();
  readTextsSoon();
}

// What is listed.

void HistoryModel::follow(const HistoryChange& change) {
  listing_.follow(change);
  counts_.follow(change);
  coming_.listing = true;
  coming_.sidebar = true;
  coming_.status = true;
  refreshSoon();
}

void HistoryModel::refreshSoon() {
  if (std::exchange(isRefreshing_, true)) return;
  // One step of the user may be a thousand changes.
  services_.main->post(lifetime_.guard([this] {
    isRefreshing_ = false;
    refresh();
  }));
}

void HistoryModel::refresh() {
  const HistoryQuery& query = listing_.query();
  if (query.scope == HistoryScope::collection &&
      store().findCollection(query.collectionID) == nullptr && store().isLoaded()) {
    HistoryQuery all = query;
    all.scope = HistoryScope::all;
    all.collectionID.clear();
    listing_.setQuery(std::move(all));
  }
  const bool isOtherDay = listing_.refreshDays();
  coming_.listing |= isOtherDay;
  const bool isOther = listing_.refresh();
  if (isOther) found_.clear();
  if (isOther || isOtherDay) selection_.refresh();
  if (isOther) readTextsSoon();
  // An age that nobody has agreed to moves nothing.
  const RetentionPolicy policy = services_.settings.values().retentionDays;
  const bool isAgreed = services_.library.retention().agreed() == policy;
  outlook_ = isAgreed ? outlookOf(store(), policy, services_.library.clock().now(), services_.dayOf)
                      : std::nullopt;
  followDisk();
  followRefusal();
  observers_.notify(std::exchange(coming_, {}));
}

void HistoryModel::readTextsSoon() {
  if (std::exchange(isReadingTexts_, true)) return;
  services_.main->postAfter(firstTextPause, lifetime_.guard([this] { readTexts(); }));
}

void HistoryModel::readTexts() {
  isReadingTexts_ = listing_.readTexts(textsAtOnce);
  if (!isReadingTexts_) return;
  services_.main->postAfter(textPause, lifetime_.guard([this] { readTexts(); }));
}

/// A library that can be looked at and not be changed says so before somebody tries.
void HistoryModel::followRefusal() {
  const bool isShown = store().isLoaded() && !store().entries().empty();
  const auto refusal = isShown ? store().indexRefusal() : std::nullopt;
  if (refusal == refusal_) return;
  const auto before = std::exchange(refusal_, refusal);
  if (!refusal) {
    if (state_ && state_->text.contains(*before)) endState();
    return;
  }
  say({.text = sentence(EntryFailure{EntryFailure::Case::libraryClosed, *refusal}),
       .detail = store().indexHindrance(),
       .kind = HistoryNotice::Kind::state});
}

void HistoryModel::followDisk() {
  services_.library.disk().whenMeasured(lifetime_.guard([this](std::uint64_t bytes) {
    if (bytes_ == bytes) return;
    bytes_ = bytes;
    observers_.notify({.status = true});
  }));
}

void HistoryModel::waitForMidnight() {
  midnight_.renew();
  // A clock that was set, or a machine that slept, is noticed an hour later at most.
  const std::chrono::duration<double> left(listing_.nextDay() - services_.library.clock().now());
  const auto wait = std::clamp(std::chrono::ceil<std::chrono::seconds>(left),
                               std::chrono::seconds(1), std::chrono::seconds(3600));
  services_.main->postAfter(wait, midnight_.guard([this] {
    if (listing_.refreshDays()) {
      selection_.refresh();
      observers_.notify({.listing = true, .selection = true, .status = true});
    }
    waitForMidnight();
  }));
}

void HistoryModel::queryChanged() {
  found_.clear();
  dropRefusal();
  selection_.refresh();
  observers_.notify({.listing = true, .selection = true, .sidebar = true});
}

const HistoryModel::Found& HistoryModel::foundAt(std::size_t place) const {
  static const Found none;
  const std::vector<SearchWord>& words = listing_.prepared().words();
  if (words.empty()) return none;
  const EntryPointer& entry = listing_.at(place);
  const auto known = found_.find(entry);
  if (known != found_.end()) return known->second;
  constexpr std::size_t mostKept = 1000;
  if (found_.size() == mostKept) found_.clear();
  return found_
      .emplace(entry,
               Found{textSnippet(*entry, words), onShownPicture(*entry, hitBoxes(*entry, words))})
      .first->second;
}

void HistoryModel::setQuery(HistoryQuery query) {
  if (query == listing_.query()) return;
  listing_.refresh();
  listing_.setQuery(std::move(query));
  queryChanged();
}

void HistoryModel::show(HistoryScope scope, const std::string& collectionID) {
  HistoryQuery query = listing_.query();
  query.scope = scope;
  query.collectionID = collectionID;
  setQuery(std::move(query));
}

void HistoryModel::sortBy(HistorySort::By by) {
  listing_.refresh();
  listing_.setSort(sortedBy(by, listing_.sort()));
  queryChanged();
}

void HistoryModel::search(const std::string& text) {
  HistoryQuery query = listing_.query();
  query.text = text;
  setQuery(std::move(query));
}

void HistoryModel::searchEverything() { setQuery({.text = listing_.query().text}); }

void HistoryModel::clearSearch() {
  setQuery({.scope = listing_.query().scope, .collectionID = listing_.query().collectionID});
}

/// What a search did not look at, in a sentence after another one; empty when it looked at all.
std::string HistoryModel::unreadRemark() const {
  const HistoryScope scope = listing_.query().scope;
  if (scope == HistoryScope::recordings || scope == HistoryScope::texts) return {};
  const auto unread = std::ranges::count_if(store().entries(), [](const EntryPointer& entry) {
    return entry->medium == CaptureMedium::image && !TextIndexing::isCurrent(*entry);
  });
  if (unread == 0 || listing_.query().text.empty()) return {};
  const std::string whose =
      unread == 1 ? std::string("one capture") : countText(std::uint64_t(unread)) + " captures";
  return services_.settings.values().indexScreenshotText
             ? fmt::format(" The text of {} has not been read yet.", whose)
             : fmt::format(
                   " The text of {} has not been read: that is switched off in Settings, "
                   "Text.",
                   whose);
}

std::optional<HistoryBlank> HistoryModel::blank() const {
  using Kind = HistoryBlank::Kind;
  if (!listing_.isEmpty()) return std::nullopt;
  if (!services_.library.isReady() && !store().isLoaded()) {
    const auto& holder = services_.library.awaitedHolder();
    return HistoryBlank{Kind::loading, "Opening the library",
                        holder ? "Waiting for " + *holder + "." : ""};
  }
  if (auto refusal = refusalToLook(store())) {
    return HistoryBlank{Kind::closed,
                        sentence(EntryFailure{EntryFailure::Case::libraryClosed, *refusal}),
                        store().indexHindrance()};
  }
  const HistoryQuery& query = listing_.query();
  const HistoryCollection* const collection = store().findCollection(query.collectionID);
  const bool isCollection = query.scope == HistoryScope::collection && collection != nullptr;
  if (!query.text.empty() || query.hasFilters()) {
    const std::string where = isCollection ? collection->name : nameOf(query.scope).label;
    return HistoryBlank{
        Kind::nothingFound,
        query.text.empty() ? "Nothing matches the filters" : "Nothing matches “" + query.text + "”",
        listing_.hasReadTexts() ? "Searched in " + where + "." + unreadRemark()
                                : "Still reading the text in " + where + ".",
        query.scope != HistoryScope::all || query.hasFilters()};
  }
  if (isCollection) {
    return HistoryBlank{Kind::emptyCollection, collection->name,
                        "Drop captures here, or file new ones into it."};
  }
  if (store().entries().empty()) {
    const std::string key = services_.captureKey();
    return HistoryBlank{Kind::nothingCaptured, "Nothing captured yet",
                        key.empty()
                            ? "Capture an area. What you take appears here."
                            : "Press " + key + " and drag an area. What you take appears here."};
  }
  return HistoryBlank{Kind::emptyScope, nameOf(query.scope).nothing};
}

// What is selected.

void HistoryModel::select(const std::function<void(HistorySelection&)>& change) {
  change(selection_);
  dropRefusal();
  observers_.notify({.selection = true});
}

void HistoryModel::setLookingAtOne(bool isLooking) {
  if (std::exchange(isLookingAtOne_, isLooking) == isLooking) return;
  observers_.notify({.selection = true});
}

EntryList HistoryModel::subjects() const {
  if (!isLookingAtOne_ || !selection_.focus()) return selection_.subjects();
  return {listing_.at(*selection_.focus())};
}

std::string HistoryModel::selectionText() const { return grouped(selection_.size()) + " selected"; }

std::string HistoryModel::selectionSize() const {
  std::uint64_t bytes = 0;
  for (const EntryPointer& entry : selection_.entries()) {
    if (entry->fileIdentity) bytes += static_cast<std::uint64_t>(entry->fileIdentity->size);
  }
  return bytes == 0 ? "" : sizeText(bytes);
}

// Beside it.

std::vector<HistorySidebarRow> HistoryModel::sidebar() const {
  const HistoryQuery& query = listing_.query();
  std::vector<HistorySidebarRow> rows;
  for (const ScopeName& one : scopes) {
    rows.push_back({.scope = one.scope,
                    .label = one.label,
                    .count = counts_.of(one.scope),
                    .isShown = query.scope == one.scope});
  }
  const auto& active = services_.settings.values().activeCollectionID;
  for (const HistoryCollection& collection : store().collections()) {
    rows.push_back({.scope = HistoryScope::collection,
                    .collectionID = collection.id,
                    .label = plainName(collection.name),
                    .count = store().membersOf(collection.id).entries.size(),
                    .color = collection.color,
                    .isFiledInto = active == collection.id,
                    .isShown = query.scope == HistoryScope::collection &&
                               query.collectionID == collection.id});
  }
  return rows;
}

std::string HistoryModel::summary() const {
  const std::size_t count = store().entries().size();
  std::string text = grouped(count) + (count == 1 ? " capture" : " captures");
  if (bytes_) text += " · " + sizeText(*bytes_);
  if (outlook_) {
    text += " · " + sentence(*outlook_, services_.dayOf(services_.library.clock().now()));
  }
  return text;
}

void HistoryModel::say(HistoryNotice notice) {
  using Kind = HistoryNotice::Kind;
  const Kind kind = notice.kind;
  if (kind == Kind::state) {
    endState();  // one that was put away is shown again
    state_ = std::move(notice);
    if (state_->canRetrySaving) watchSaving();
    return observers_.notify({.status = true});
  }
  notice_ = std::move(notice);
  refused_.reset();
  notices_.renew();
  if (kind == Kind::done || kind == Kind::refusal) {
    services_.main->postAfter(kind == Kind::done ? passingNotice : passingRefusal,
                              notices_.guard([this] { dismissNotice(); }));
  }
  observers_.notify({.status = true});
}

void HistoryModel::dismissNotice() {
  if (!notice_) return endState();
  notice_.reset();
  refused_.reset();
  notices_.renew();
  observers_.notify({.status = true});
}

void HistoryModel::endState() {
  if (!std::exchange(state_, std::nullopt)) return;
  observers_.notify({.status = true});
}

/// The library is saved by itself once there is room.
void HistoryModel::watchSaving() {
  services_.main->postAfter(savingLook, lifetime_.guard([this] {
    if (!state_ || !state_->canRetrySaving) return;
    if (!store().indexSaveFailure()) return endState();
    watchSaving();
  }));
}

// What can be done.

bool HistoryModel::areStarred() const {
  const EntryList entries = subjects();
  return !entries.empty() &&
         std::ranges::all_of(entries, [](const EntryPointer& entry) { return entry->starred; });
}

std::vector<std::string> HistoryModel::commonCollections() const {
  const EntryList entries = subjects();
  if (entries.empty()) return {};
  std::vector<std::string> common = entries.front()->collectionIDs;
  for (const EntryPointer& entry : entries) {
    std::erase_if(common, [&](const std::string& id) {
      return std::ranges::find(entry->collectionIDs, id) == entry->collectionIDs.end();
    });
  }
  return common;
}

void HistoryModel::toggleStar() {
  if (!refuses(HistoryAction::star)) actions_.star(subjects(), !areStarred());
}

bool HistoryModel::refuses(HistoryAction action) {
  auto reason = obstacle(action);
  if (!reason) {
    if (notice_ && notice_->isOfAction()) dismissNotice();
    return false;
  }
  say({.text = *std::move(reason), .kind = HistoryNotice::Kind::refusal});
  refused_ = action;
  return true;
}

/// It was of something else than what is selected now.
void HistoryModel::dropRefusal() {
  if (notice_ && notice_->kind == HistoryNotice::Kind::refusal) dismissNotice();
}

void HistoryModel::sayLeftOut(HistoryAction action) {
  if (refuses(action)) return;
  if (std::string left = leftOut(action); !left.empty()) {
    say({.text = std::move(left), .kind = HistoryNotice::Kind::refusal});
  }
}

void HistoryModel::trash() {
  if (!refuses(HistoryAction::trash)) actions_.trash(subjects());
}

void HistoryModel::remove() {
  if (!refuses(HistoryAction::remove)) actions_.remove(subjects());
}

// Collections.

void HistoryModel::report(const Result<void>& outcome) {
  if (!outcome) {
    say({.text = sentence(EntryFailure{EntryFailure::Case::unnamed, outcome.error().reason})});
  }
}

Result<std::string> HistoryModel::createCollection(const std::string& name) {
  auto id = collections_.create(name);
  if (!id) report(std::unexpected(id.error()));
  return id;
}

void HistoryModel::renameCollection(const std::string& id, const std::string& name) {
  report(collections_.rename(id, name));
}

void HistoryModel::removeCollection(const std::string& id) { report(collections_.remove(id)); }

void HistoryModel::moveCollection(const std::string& id, std::size_t place) {
  report(collections_.move(id, place));
}

// What can be undone.

bool HistoryModel::isCollectionUndoneFirst() const {
  const auto& removed = collections_.pendingUndo();
  const HistoryDeletion& deletion = services_.library.deletion();
  return removed && (!deletion.pendingUndo() || removed->undoEnds >= deletion.undoEnds());
}

std::optional<HistoryModel::Undo> HistoryModel::pendingUndo() const {
  const auto now = services_.library.clock().monotonic();
  const HistoryDeletion& deletion = services_.library.deletion();
  if (isCollectionUndoneFirst()) {
    const auto& removed = *collections_.pendingUndo();
    return Undo{"Collection “" + removed.collection.name + "” deleted", removed.undoEnds - now};
  }
  if (!deletion.pendingUndo()) return std::nullopt;
  return Undo{deletedFeedback(deletion.pendingUndo()->items.size()), deletion.undoEnds() - now};
}

void HistoryModel::undo() {
  if (isCollectionUndoneFirst()) {
    report(collections_.undo());
  } else {
    actions_.undo();
  }
}

}  // namespace vantorel
