#include "cli/entry_text.hpp"

#include <fmt/format.h>

#include <string_view>
#include <utility>

#include "app/capture_rewriter.hpp"
#include "base/json_record.hpp"
#include "base/path_text.hpp"
#include "base/time_text.hpp"
#include "editor/capture_text.hpp"
#include "editor/entry_document.hpp"
#include "editor/text_hits.hpp"
#include "library/entry_failure.hpp"
#include "library/entry_title.hpp"
#include "library/relocation_report.hpp"

namespace vantorel {
namespace {

std::string sizeOf(const ScreenshotEntry& entry) {
  if (!entry.pixelWidth || !entry.pixelHeight) return "-";
  return fmt::format("{}x{}", *entry.pixelWidth, *entry.pixelHeight);
}

/// What is wrong with a capture's file; empty when it is there.
std::string_view remarkOn(FileReach reach) {
  switch (reach) {
    case FileReach::there: return "";
    case FileReach::fileGone: return "gone";
    case FileReach::folderGone: return "out of reach: its folder no longer exists";
    case FileReach::linkBroken: return "a link that leads nowhere";
    case FileReach::folderReplaced: return "gone: its folder is another one of that name now";
    case FileReach::folderUnreachable: return "out of reach now: its disk is not connected";
    case FileReach::folderDenied: return "in a folder that may not be opened";
    case FileReach::unknown: return "on a disk that doesn't answer";
  }
  std::unreachable();
}

std::string details(const ScreenshotEntry& entry, const HistoryStore& store, FileReach reach) {
  std::string text;
  const auto row = [&](std::string_view name, const std::string& value) {
    if (!value.empty()) text += fmt::format("{}: {}\n", name, inOneCell(value));
  };
  row("id", entry.id);
  row("title", entry.title.value_or(""));
  row("path", entry.path);
  row("file", std::string(remarkOn(reach)));
  row("original", entry.originalPath.value_or(""));
  row("captured", tableTime(entry.capturedAt));
  if (entry.editedAt) row("edited", tableTime(*entry.editedAt));
  row("medium", std::string(nameOf(entry.medium)));
  if (entry.pixelWidth && entry.pixelHeight) row("pixels", sizeOf(entry));
  if (entry.captureScale) row("scale", fmt::format("{}", *entry.captureScale));
  if (entry.durationSeconds) row("seconds", fmt::format("{}", *entry.durationSeconds));
  row("starred", entry.starred ? "yes" : "no");
  for (const std::string& id : entry.collectionIDs) {
    const HistoryCollection* const collection = store.findCollection(id);
    row("collection", collection == nullptr ? id : collection->name);
  }
  if (entry.sourceApp) {
    row("application", entry.sourceApp->bundleID ? fmt::format("{} ({})", entry.sourceApp->name,
                                                               *entry.sourceApp->bundleID)
                                                 : entry.sourceApp->name);
  }
  row("text", captureText(entry));
  return text;
}

}  // namespace

std::string nameInCell(const ScreenshotEntry& entry) {
  return inOneCell(entry.title.value_or(Path(entry.path).filename().string()));
}

std::string lineOf(const ScreenshotEntry& entry, bool json) {
  if (json) return json::toText(withShownText(entry)) + "\n";
  return fmt::format("{}\t{}\t{}\t{}\t{}\t{}\t{}\n", inOneCell(entry.id),
                     tableTime(entry.capturedAt), nameOf(entry.medium), sizeOf(entry),
                     entry.starred ? "starred" : "-",
                     entry.sourceApp ? inOneCell(entry.sourceApp->name) : "-", nameInCell(entry));
}

std::string foundLineOf(const ScreenshotEntry& entry, const std::vector<SearchWord>& words,
                        bool json) {
  const TextSnippet snippet = textSnippet(entry, words);
  if (!json) {
    return fmt::format("{}\t{}\t{}\t{}\n", inOneCell(entry.id), tableTime(entry.capturedAt),
                       nameInCell(entry), snippet.isEmpty() ? "-" : inOneCell(snippet.text));
  }
  json::Writer writer;
  writer.beginObject();
  writer.member("id", entry.id);
  writer.member("capturedAt", entry.capturedAt);
  writer.member("medium", nameOf(entry.medium));
  writer.member("title", titleOf(entry));
  writer.member("path", textOfPath(entry.path));
  if (entry.sourceApp) writer.member("application", entry.sourceApp->name);
  if (!snippet.isEmpty()) {
    writer.key("snippet");
    writer.beginObject();
    writer.member("text", snippet.text);
    writer.key("hits");
    writer.beginArray();
    for (const TextRange& hit : snippet.hits) {
      writer.beginObject();
      writer.member("begin", static_cast<std::int64_t>(hit.begin));
      writer.member("end", static_cast<std::int64_t>(hit.end));
      writer.endObject();
    }
    writer.endArray();
    writer.endObject();
  }
  writer.key("boxes");
  writer.beginArray();
  for (const Box& box : hitBoxes(entry, words)) {
    writer.beginObject();
    writer.member("x", box.x);
    writer.member("y", box.y);
    writer.member("w", box.w);
    writer.member("h", box.h);
    writer.endObject();
  }
  writer.endArray();
  writer.endObject();
  return writer.take() + "\n";
}

std::string textOf(const ScreenshotEntry& entry, bool json) {
  std::string text = captureText(entry);
  if (!json) {
    if (!text.empty() && !text.ends_with('\n')) text += '\n';
    return text;
  }
  json::Writer writer;
  writer.beginObject();
  writer.member("id", entry.id);
  writer.member("text", text);
  writer.member("truncated", entry.ocrTruncated);
  writer.endObject();
  return writer.take() + "\n";
}

std::string linesOf(const EntryList& entries, bool json) {
  std::string text;
  for (const EntryPointer& entry : entries) text += lineOf(*entry, json);
  return text;
}

std::string lineOf(const HistoryCollection& collection, std::size_t count, bool json) {
  if (!json) {
    return fmt::format("{}\t{}\t{}\t{}\n", inOneCell(collection.id), inOneCell(collection.name),
                       nameOf(collection.color), captureCount(count));
  }
  json::Writer writer;
  writer.beginObject();
  writer.member("id", collection.id);
  writer.member("name", collection.name);
  writer.member("color", nameOf(collection.color));
  writer.member("note", collection.note);
  writer.member("createdAt", collection.createdAt);
  writer.member("count", static_cast<std::int64_t>(count));
  writer.endObject();
  return writer.take() + "\n";
}

CommandReply detailsOf(const LookedEntries& looked, const HistoryStore& store, bool json) {
  if (json) return {ExitStatus::done, linesOf(looked.entries, true), {}};
  CommandReply reply;
  for (std::size_t i = 0; i < looked.entries.size(); ++i) {
    reply.output += (i > 0 ? "\n" : "") + details(*looked.entries[i], store, looked.reachOf(i));
  }
  return reply;
}

CommandReply pathsOf(const LookedEntries& looked, bool json) {
  CommandReply reply;
  for (std::size_t i = 0; i < looked.entries.size(); ++i) {
    const ScreenshotEntry& entry = *looked.entries[i];
    if (looked.unsettled.contains(entry.id)) {
      return failedReply(sentence(EntryFailure{EntryFailure::Case::unsettled}));
    }
    reply.output += json ? lineOf(entry, true) : entry.path + "\n";
    if (const FileReach reach = looked.reachOf(i); reach != FileReach::there) {
      reply.status = ExitStatus::failed;
      reply.error += fmt::format("{}: the file is {}.\n", entry.path, remarkOn(reach));
    }
    if (isRedacted(entry)) {
      reply.error +=
          fmt::format("{}: {} in this file: use render.\n", entry.path, coveredInFile(entry));
    }
  }
  return reply;
}

}  // namespace vantorel
