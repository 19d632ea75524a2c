#include "text/match_overlaps.hpp"

#include <algorithm>
#include <map>
#include <numeric>

#include "text/code_points.hpp"

namespace vantorel {
namespace {

/// `range` without the blanks and marks around it; empty when there is nothing else.
TextRange trimmed(std::string_view text, TextRange range) {
  const auto counts = [](char c) { return isAsciiAlnum(c) || c < 0; };
  while (range.begin < range.end && !counts(text[range.begin])) ++range.begin;
  while (range.begin < range.end && !counts(text[range.end - 1])) --range.end;
  return range;
}

}  // namespace

std::vector<SensitiveMatch> withoutInner(const std::vector<SensitiveMatch>& found) {
  std::vector<std::size_t> order(found.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::ranges::sort(order, [&](std::size_t a, std::size_t b) {
    const TextRange& one = found[a].range;
    const TextRange& other = found[b].range;
    return one.begin != other.begin ? one.begin < other.begin
           : one.end != other.end   ? one.end > other.end
                                    : a < b;
  });
  std::vector<bool> isInner(found.size());
  std::size_t end = 0;
  for (const std::size_t i : order) {
    isInner[i] = found[i].range.end <= end;
    end = std::max(end, found[i].range.end);
  }
  std::vector<SensitiveMatch> outer;
  for (std::size_t i = 0; i < found.size(); ++i) {
    if (!isInner[i]) outer.push_back(found[i]);
  }
  return outer;
}

std::vector<SensitiveMatch> withoutOverlaps(const std::vector<SensitiveMatch>& found,
                                            std::string_view text) {
  std::map<std::size_t, SensitiveMatch> taken;  // by where they begin
  for (const SensitiveMatch& match : found) {
    std::size_t begin = match.range.begin;
    const bool isWhole = [&] {
      auto next = taken.upper_bound(match.range.begin);
      if (next != taken.end() && next->first < match.range.end) return false;
      return next == taken.begin() || std::prev(next)->second.range.end <= match.range.begin;
    }();
    if (isWhole) {
      taken.emplace(begin, match);
      continue;
    }
    while (begin < match.range.end) {
      auto next = taken.upper_bound(begin);
      if (next != taken.begin() && std::prev(next)->second.range.end > begin) {
        begin = std::prev(next)->second.range.end;
        continue;
      }
      const std::size_t end =
          next == taken.end() ? match.range.end : std::min(match.range.end, next->first);
      const TextRange rest = trimmed(text, {begin, end});
      if (rest.length() > 0) taken.emplace(rest.begin, SensitiveMatch{match.kind, rest});
      begin = end;
    }
  }
  std::vector<SensitiveMatch> matches;
  matches.reserve(taken.size());
  for (const auto& [begin, match] : taken) matches.push_back(match);
  return matches;
}

}  // namespace vantorel
