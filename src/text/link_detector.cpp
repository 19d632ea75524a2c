#include "text/link_detector.hpp"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>

#include "text/code_points.hpp"
#include "text/top_level_domains.hpp"

namespace vantorel {
namespace {

/// No scheme, name or host is longer; what is, is something else.
constexpr std::size_t longestScheme = 24;
constexpr std::size_t longestLocalPart = 96;
constexpr std::size_t longestHost = 300;
constexpr std::size_t longestLabel = 96;  // in bytes: 63 as they are sent

bool isSchemeLetter(char c) { return isAsciiAlnum(c) || c == '+' || c == '.' || c == '-'; }

std::string lowered(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) {
    if (isAsciiUpper(c)) c = static_cast<char>(c - 'A' + 'a');
  }
  return lower;
}

/// Letters, digits and hyphens, of whatever script.
bool isLabelLetter(const CodePoint& letter) {
  if (letter.value >= 0x80) return isForeignLetter(letter.value);
  const char c = static_cast<char>(letter.value);
  return isAsciiAlnum(c) || c == '-' || c == '_';
}

bool isLinkLetter(const CodePoint& letter) {
  if (letter.value < 0x80) {
    constexpr std::string_view others = "-._~:/?#[]@!$&'()*+,;=%";
    const char c = static_cast<char>(letter.value);
    return isAsciiAlnum(c) || others.find(c) != others.npos;
  }
  return isForeignLetter(letter.value);
}

/// How many of the letters at the end of `link` belong to the sentence around it.
std::size_t withoutTrailing(std::string_view link) {
  const std::ptrdiff_t opened[] = {std::ranges::count(link, '('), std::ranges::count(link, '[')};
  std::ptrdiff_t closed[] = {std::ranges::count(link, ')'), std::ranges::count(link, ']')};
  std::size_t end = link.size();
  for (; end > 0; --end) {
    const char last = link[end - 1];
    constexpr std::string_view punctuation = ".,;:!?'*";
    if (punctuation.find(last) != punctuation.npos || last == '(' || last == '[') continue;
    const int which = last == ')' ? 0 : last == ']' ? 1 : -1;
    if (which < 0 || closed[which] <= opened[which]) break;
    --closed[which];
  }
  return end;
}

/// Where a link that begins before `from` ends.
std::size_t linkEnd(std::string_view text, std::size_t begin, std::size_t from) {
  std::size_t end = from;
  while (end < text.size()) {
    const CodePoint letter = codePointAt(text, end);
    if (!isLinkLetter(letter)) break;
    end += letter.length;
  }
  return begin + withoutTrailing(text.substr(begin, end - begin));
}

bool isWordAt(std::string_view text, std::size_t at) {
  if (at >= text.size()) return false;
  const CodePoint letter = codePointAt(text, at);
  return letter.value < 0x80 ? isAsciiAlnum(static_cast<char>(letter.value)) || letter.value == U'['
                             : isForeignLetter(letter.value);
}

/// Links with "://".
void findSchemes(std::string_view text, std::vector<SensitiveMatch>& found) {
  constexpr std::string_view mark = "://";
  std::size_t before = 0;
  for (std::size_t at = text.find(mark); at != text.npos;) {
    std::size_t begin = at;
    while (begin > before && at - begin < longestScheme && isSchemeLetter(text[begin - 1])) --begin;
    while (begin < at && !isAsciiLetter(text[begin])) ++begin;
    const std::size_t rest = at + mark.size();
    const bool hasScheme = at - begin >= 2;
    const bool isFile = hasScheme && text.substr(begin, at - begin) == "file";
    if (hasScheme && (isWordAt(text, rest) || (isFile && isWordAt(text, rest + 1)))) {
      const std::size_t end = linkEnd(text, begin, rest);
      if (end > rest) {
        found.push_back({SensitiveMatchKind::url, {begin, end}});
        before = end;
      }
    }
    at = text.find(mark, std::max(rest, before));
  }
}

/// A name of labels and full stops.
struct HostName {
  TextRange range;
  std::vector<TextRange> labels;
};

/// Reads forward from `at`; stops before what cannot be in one. East Asian words and Latin ones in
/// one label are two words.
HostName hostFrom(std::string_view text, std::size_t at) {
  HostName host{.range = {at, at}, .labels = {}};
  std::size_t labelBegin = at;
  char32_t previous = 0;
  const auto closeLabel = [&](std::size_t end) {
    if (end > labelBegin) host.labels.push_back({labelBegin, end});
  };
  std::size_t end = at;
  while (end < text.size()) {
    const CodePoint letter = codePointAt(text, end);
    if (letter.value == U'.') {
      if (end == labelBegin) break;
      closeLabel(end);
      labelBegin = end + 1;
    } else if (!isLabelLetter(letter) ||
               (end > labelBegin && isEastAsian(letter.value) != isEastAsian(previous))) {
      break;
    }
    previous = letter.value;
    end += letter.length;
  }
  closeLabel(end);
  if (!host.labels.empty()) host.range.end = host.labels.back().end;
  return host;
}

std::string_view in(std::string_view text, const TextRange& range) {
  return text.substr(range.begin, range.length());
}

bool isNumber(std::string_view label) { return std::ranges::all_of(label, isAsciiDigit); }

bool hasLetter(std::string_view label) {
  return std::ranges::any_of(label, [](char c) { return isAsciiLetter(c) || c < 0; });
}

/// As an address of e-mail may have it: any ending of letters will do, "jane@mail.internal".
bool isMailHost(std::string_view text, const HostName& host) {
  if (host.labels.size() < 2 || host.range.length() > longestHost) return false;
  const std::string_view ending = in(text, host.labels.back());
  const bool hasNumber = std::ranges::any_of(ending, isAsciiDigit) && !ending.starts_with("xn--");
  if (ending.size() < 2 || hasNumber || !hasLetter(ending)) return false;
  const std::string_view first = in(text, host.labels.front());
  // "react@18.0.0-rc.next" is a version, "icon@2x.png" a picture.
  if (isNumber(first) && isNumber(in(text, host.labels[1]))) return false;
  return host.labels.size() > 2 || first.size() > 4 || first.empty() || first.back() != 'x' ||
         !isNumber(first.substr(0, first.size() - 1));
}

bool isLocalLetter(const CodePoint& letter) {
  if (letter.value >= 0x80) return isForeignLetter(letter.value) && !isEastAsian(letter.value);
  constexpr std::string_view others = "._%+-'&=~!#$*";
  const char c = static_cast<char>(letter.value);
  return isAsciiAlnum(c) || others.find(c) != others.npos;
}

/// Where the name before the "@" begins.
std::size_t localPartBegin(std::string_view text, std::size_t at, std::size_t before) {
  std::size_t begin = at;
  while (begin > before && at - begin < longestLocalPart) {
    const CodePoint letter = codePointBefore(text, begin);
    if (!isLocalLetter(letter)) break;
    begin -= letter.length;
  }
  // "to=jane@…", "'jane@…'": what comes before the name is not hers.
  const auto isName = [&](std::size_t i) {
    const char c = text[i];
    return isAsciiAlnum(c) || c < 0 || c == '_' || c == '+';
  };
  const std::size_t assigned = text.substr(begin, at - begin).find_last_of("=&!#$*~'");
  if (assigned != text.npos && (text[begin + assigned] != '\'' || assigned == 0)) {
    begin += assigned + 1;
  }
  while (begin < at && !isName(begin)) ++begin;
  return begin;
}

void findMail(std::string_view text, std::vector<SensitiveMatch>& found) {
  std::size_t before = 0;
  for (std::size_t at = text.find('@'); at != text.npos; at = text.find('@', at + 1)) {
    std::size_t begin = localPartBegin(text, at, before);
    if (begin == at) continue;
    std::size_t end = 0;
    if (text.substr(at + 1).starts_with('[')) {
      const std::size_t close = text.substr(at, 64).find(']');
      const std::string_view number =
          close == text.npos ? std::string_view() : text.substr(at + 2, close - 2);
      if (number.find_first_not_of("0123456789abcdefABCDEFIPv:.") != number.npos ||
          number.size() < 7) {
        continue;
      }
      end = at + close + 1;
    } else {
      HostName host = hostFrom(text, at + 1);
      while (!host.labels.empty() && text[host.range.end - 1] == '-') --host.range.end;
      if (!isMailHost(text, host)) continue;
      end = host.range.end;
    }
    constexpr std::string_view scheme = "mailto:";
    if (begin >= scheme.size() + before &&
        lowered(text.substr(begin - scheme.size(), scheme.size())) == scheme) {
      begin -= scheme.size();
      if (text.substr(end).starts_with('?')) end = linkEnd(text, begin, end);
    }
    found.push_back({SensitiveMatchKind::email, {begin, end}});
    before = end;
    at = std::max(at, end - 1);
  }
}

/// Whether a name without a scheme is that of a host. `hasPath`: "/…" follows.
bool isBareHost(std::string_view text, const HostName& host, bool hasPath) {
  if (host.labels.size() < 2 || host.range.length() > longestHost) return false;
  for (const TextRange& label : host.labels) {
    const std::string_view name = in(text, label);
    if (name.starts_with('-') || name.ends_with('-') || name.size() > longestLabel) return false;
  }
  const std::string_view domain = in(text, host.labels[host.labels.size() - 2]);
  const std::string_view ending = in(text, host.labels.back());
  if (domain.find('_') != domain.npos) return false;
  const bool isShouted = std::ranges::all_of(ending, isAsciiUpper);
  if (!isShouted && std::ranges::any_of(ending, isAsciiUpper)) return false;
  const std::string first = lowered(in(text, host.labels.front()));
  const bool isWeb = first == "www" && host.labels.size() > 2;
  const DomainEnding kind = domainEnding(lowered(ending));
  if (isWeb) return kind != DomainEnding::unknown || ending.size() >= 2;
  if (kind == DomainEnding::unknown || (kind == DomainEnding::ambiguous && !hasPath)) return false;
  if (hasPath) return hasLetter(domain) || domain.size() > 2;
  // "ASP.NET", "e.g.", "i.de": too short to be sure of.
  if (domain.size() < (isShouted ? 4U : 2U) && lowered(ending) != "com") return false;
  if (isNumber(domain) && domain.size() < 3) return false;
  // "org.example.app", "com.example.io": packages are named from the top.
  const bool isFromTheTop = first == "com" || first == "org" || first == "net" || first == "io" ||
                            first == "de" || first == "java" || first == "javax";
  return !isFromTheTop;
}

/// Hosts without a scheme, outside what was found before (in order).
void findHosts(std::string_view text, std::vector<SensitiveMatch>& found) {
  const std::vector<SensitiveMatch> before = found;
  auto known = before.begin();
  for (std::size_t at = 0; at < text.size();) {
    while (known != before.end() && known->range.end <= at) ++known;
    if (known != before.end() && known->range.begin <= at) {
      at = known->range.end;
      continue;
    }
    const CodePoint letter = codePointAt(text, at);
    if (!isLabelLetter(letter)) {
      at += letter.length;
      continue;
    }
    const HostName host = hostFrom(text, at);
    std::size_t next = std::max(host.range.end, at + letter.length);
    const char previous = at > 0 ? text[at - 1] : ' ';
    const char following = next < text.size() ? text[next] : ' ';
    constexpr std::string_view refusedBefore = "/\\@#$~.%";
    const bool hasPort = following == ':' && next + 1 < text.size() && isAsciiDigit(text[next + 1]);
    std::size_t pathBegin = next;
    if (hasPort) {
      ++pathBegin;
      while (pathBegin < text.size() && isAsciiDigit(text[pathBegin])) ++pathBegin;
    }
    const char afterPort = pathBegin < text.size() ? text[pathBegin] : ' ';
    const bool hasPath = afterPort == '/' || afterPort == '?';
    const bool isRefused = refusedBefore.find(previous) != refusedBefore.npos || following == '(' ||
                           following == '@' || following == '\\' || following == '[' ||
                           (following == ':' && text.substr(next, 2) == "::");
    if (!isRefused &&
        isBareHost(text, host, hasPath && afterPort == '/' && isWordAt(text, pathBegin + 1))) {
      std::size_t end = hasPath ? linkEnd(text, at, pathBegin) : pathBegin;
      if (known != before.end()) end = std::min(end, known->range.begin);
      found.push_back({SensitiveMatchKind::url, {at, std::max(end, host.range.end)}});
      next = std::max(end, next);
    }
    at = next;
  }
  std::ranges::sort(found, {}, [](const SensitiveMatch& match) { return match.range; });
}

}  // namespace

std::vector<SensitiveMatch> linksIn(std::string_view text) {
  std::vector<SensitiveMatch> links;
  findSchemes(text, links);
  std::vector<SensitiveMatch> found;
  // Addresses inside a link are part of it.
  std::size_t from = 0;
  const auto mailBetween = [&](std::size_t begin, std::size_t end) {
    std::vector<SensitiveMatch> mail;
    findMail(text.substr(begin, end - begin), mail);
    for (const SensitiveMatch& match : mail) {
      found.push_back({match.kind, {match.range.begin + begin, match.range.end + begin}});
    }
  };
  for (const SensitiveMatch& link : links) {
    mailBetween(from, link.range.begin);
    found.push_back(link);
    from = link.range.end;
  }
  mailBetween(from, text.size());
  findHosts(text, found);
  return found;
}

}  // namespace vantorel
