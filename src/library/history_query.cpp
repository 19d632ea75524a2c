#include "library/history_query.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "base/folded_text.hpp"

namespace vantorel {
namespace {

using Kind = std::pair<std::string_view, CaptureMedium>;
constexpr std::array kinds{Kind{"screenshot", CaptureMedium::image},
                           Kind{"recording", CaptureMedium::recording},
                           Kind{"gif", CaptureMedium::gif}, Kind{"text", CaptureMedium::text}};

bool satisfies(const ScreenshotEntry& entry, std::string_view word) {
  for (const auto& [name, medium] : kinds) {
    if (name == word) return entry.medium == medium;
  }
  if (!entry.sourceApp) return false;
  std::string application = foldedText(entry.sourceApp->name);
  std::erase(application, ' ');
  return application.starts_with(word);
}

}  // namespace

bool shows(HistoryScope scope, const ScreenshotEntry& entry, const std::string& collectionID) {
  switch (scope) {
    case HistoryScope::all: return true;
    case HistoryScope::starred: return entry.starred;
    case HistoryScope::images: return entry.medium == CaptureMedium::image;
    case HistoryScope::recordings:
      return entry.medium == CaptureMedium::recording || entry.medium == CaptureMedium::gif ||
             entry.medium == CaptureMedium::project;
    case HistoryScope::texts: return entry.medium == CaptureMedium::text;
    case HistoryScope::collection:
      return std::ranges::find(entry.collectionIDs, collectionID) != entry.collectionIDs.end();
  }
  std::unreachable();
}

std::string ageLabel(int days) {
  return days == 365 ? "Last year" : fmt::format("Last {} days", days);
}

std::string_view kindsLabel(CaptureMedium medium) {
  switch (medium) {
    case CaptureMedium::image: return "Images";
    case CaptureMedium::recording: return "Recordings";
    case CaptureMedium::gif: return "GIFs";
    case CaptureMedium::text: return "Texts";
    case CaptureMedium::project: return "Projects";
  }
  std::unreachable();
}

std::vector<HistoryFilter> HistoryQuery::filters() const {
  std::vector<HistoryFilter> set;
  if (kind) set.push_back(HistoryFilter::kind);
  if (!application.empty()) set.push_back(HistoryFilter::application);
  if (isStarred) set.push_back(HistoryFilter::starred);
  if (days) set.push_back(HistoryFilter::date);
  return set;
}

std::string HistoryQuery::label(HistoryFilter filter) const {
  switch (filter) {
    case HistoryFilter::kind: return kind ? std::string(kindsLabel(*kind)) : "";
    case HistoryFilter::application: return application;
    case HistoryFilter::starred: return "Starred";
    case HistoryFilter::date: return days ? ageLabel(*days) : "";
  }
  std::unreachable();
}

HistoryQuery HistoryQuery::without(HistoryFilter filter) const {
  HistoryQuery left = *this;
  switch (filter) {
    case HistoryFilter::kind: left.kind.reset(); break;
    case HistoryFilter::application: left.application.clear(); break;
    case HistoryFilter::starred: left.isStarred = false; break;
    case HistoryFilter::date: left.days.reset(); break;
  }
  return left;
}

HistoryQuery HistoryQuery::withoutFilters() const {
  return {.text = text, .scope = scope, .collectionID = collectionID};
}

PreparedHistoryQuery::PreparedHistoryQuery(HistoryQuery query, std::optional<double> since)
    : query_(std::move(query)), since_(since) {
  TypedWords typed = typedWords(query_.text);
  for (std::string& word : typed.words) words_.emplace_back(std::move(word));
  operators_ = std::move(typed.operators);
}

bool PreparedHistoryQuery::admits(const ScreenshotEntry& entry) const {
  if (!shows(query_.scope, entry, query_.collectionID)) return false;
  if (query_.kind && entry.medium != *query_.kind) return false;
  if (query_.isStarred && !entry.starred) return false;
  if (since_ && entry.capturedAt < *since_) return false;
  if (!query_.application.empty() &&
      (!entry.sourceApp || entry.sourceApp->name != query_.application)) {
    return false;
  }
  return std::ranges::all_of(operators_,
                             [&](const std::string& word) { return satisfies(entry, word); });
}

bool PreparedHistoryQuery::isNarrowerThan(const PreparedHistoryQuery& other) const {
  HistoryQuery same = query_;
  same.text = other.query_.text;
  if (same != other.query_ || since_ != other.since_ || operators_ != other.operators_)
    return false;
  return std::ranges::all_of(other.words_, [&](const SearchWord& wide) {
    return std::ranges::any_of(
        words_, [&](const SearchWord& word) { return word.text.contains(wide.text); });
  });
}

}  // namespace vantorel
