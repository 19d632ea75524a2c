#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "library/records/screenshot_entry.hpp"
#include "library/search_word.hpp"

namespace vantorel {

/// What the sidebar of History offers to look at.
enum class HistoryScope { all, starred, images, recordings, texts, collection };

/// Whether the scope shows captures of that kind; recordings are all that moves.
[[nodiscard]] bool shows(HistoryScope scope, const ScreenshotEntry& entry,
                         const std::string& collectionID);

/// What narrows a search beside its words, each once.
enum class HistoryFilter { kind, application, starred, date };

/// The ages that the filter of dates offers, in days with today.
inline constexpr std::array historyAges{7, 30, 365};

/// "Last 7 days", "Last year".
[[nodiscard]] std::string ageLabel(int days);

/// "Images", "GIFs".
[[nodiscard]] std::string_view kindsLabel(CaptureMedium medium);

/// What somebody looks for in History; what is empty does not count.
struct HistoryQuery {
  /// All its words are in the title, the file's name, the application's or the text on the picture,
  /// or begin a word of the date ("saturday", "november", "2026-11-21"), in any case, with or
  /// without accents; what stands in quotes is one word. "@screenshot", "@recording", "@gif" and
  /// "@text" are a kind; "@" and the beginning of an application's name is where the capture came
  /// from.
  std::string text{};

  HistoryScope scope = HistoryScope::all;
  std::string collectionID{};  ///< when the scope is a collection
  std::optional<CaptureMedium> kind{};
  std::string application{};  ///< its whole name
  bool isStarred = false;     ///< starred ones alone
  std::optional<int> days{};  ///< of the last so many days, today among them

  [[nodiscard]] bool hasFilters() const { return !filters().empty(); }

  /// Those that are set.
  [[nodiscard]] std::vector<HistoryFilter> filters() const;

  /// What a filter that is set lets through: "Images", "Terminal", "Starred", "Last 7 days".
  [[nodiscard]] std::string label(HistoryFilter filter) const;

  [[nodiscard]] HistoryQuery without(HistoryFilter filter) const;
  [[nodiscard]] HistoryQuery withoutFilters() const;

  bool operator==(const HistoryQuery&) const = default;
};

/// A query made ready to be asked of many entries.
class PreparedHistoryQuery {
 public:
  /// `since`: when the first of the query's days began, in seconds since 1970-01-01 UTC.
  explicit PreparedHistoryQuery(HistoryQuery query, std::optional<double> since = std::nullopt);

  [[nodiscard]] const HistoryQuery& query() const { return query_; }

  /// What is looked for in texts.
  [[nodiscard]] const std::vector<SearchWord>& words() const { return words_; }

  /// Everything but the words.
  [[nodiscard]] bool admits(const ScreenshotEntry& entry) const;

  /// Whether nothing can match this one that did not match `other`.
  [[nodiscard]] bool isNarrowerThan(const PreparedHistoryQuery& other) const;

 private:
  HistoryQuery query_;
  std::optional<double> since_;
  std::vector<SearchWord> words_;
  std::vector<std::string> operators_;  // without "@"
};

}  // namespace vantorel
