#include "cli/library_report_text.hpp"

#include <fmt/format.h>

#include <string>

#include "base/json_writer.hpp"
#include "base/size_text.hpp"
#include "cli/entry_text.hpp"
#include "library/silent_folders.hpp"

namespace vantorel {
namespace {

std::string line(const VerifyReport::Finding& finding, bool json) {
  if (!json) {
    return fmt::format("{}\t{}{}\n", nameOf(finding.kind), inOneCell(finding.path),
                       finding.isRepaired ? "\trepaired" : "");
  }
  json::Writer writer;
  writer.beginObject();
  writer.member("finding", nameOf(finding.kind));
  writer.member("path", finding.path);
  writer.member("repaired", finding.isRepaired);
  writer.endObject();
  return writer.take() + "\n";
}

std::string sizeLine(const VerifyReport& report, bool json) {
  if (!json) {
    return fmt::format("{}, {}\n", captureCount(report.captures), sizeText(report.bytes));
  }
  json::Writer writer;
  writer.beginObject();
  writer.member("captures", static_cast<std::int64_t>(report.captures));
  writer.member("bytes", static_cast<std::int64_t>(report.bytes));
  writer.endObject();
  return writer.take() + "\n";
}

/// Adds what went wrong entry by entry, and that it did.
void addFailures(CommandReply& reply, const std::vector<TrashSweep::Failure>& failures,
                 const HistoryStore& store) {
  for (const TrashSweep::Failure& failure : failures) {
    const EntryPointer entry = store.find(failure.id);
    reply.status = ExitStatus::failed;
    reply.error += (entry ? nameInCell(*entry) : failure.id) + ": " + failure.reason;
    reply.error += failure.reason.ends_with('.') ? "\n" : ".\n";
  }
}

void addUnsaved(CommandReply& reply, const std::optional<std::string>& reason) {
  if (!reason) return;
  reply.status = ExitStatus::failed;
  reply.error += fmt::format("The library's index could not be saved: {}.\n", *reason);
}

}  // namespace

CommandReply replyTo(const VerifyReport& report, bool json) {
  if (report.wasStopped) return nothingChanged();
  if (report.indexNotSaved) {
    return failedReply("The library's index could not be saved: " + *report.indexNotSaved);
  }
  CommandReply reply;
  for (const VerifyReport::Finding& finding : report.findings) reply.output += line(finding, json);
  reply.output += sizeLine(report, json);
  reply.error = silenceOf(report.silentFolders);
  const std::size_t found = report.findings.size();
  if (const std::size_t repaired = report.repairedCount(); repaired < found) {
    reply.status = ExitStatus::failed;
    reply.error += fmt::format("{} found, {} repaired.\n", found, repaired);
  }
  for (const std::string& path : report.notJudged) {
    reply.error +=
        fmt::format("{} may be work under way and is not judged yet.\n", inOneCell(path));
  }
  return reply;
}

CommandReply replyTo(const ChangeReport& report, bool json) {
  CommandReply reply{ExitStatus::done, linesOf(report.changed, json), {}};
  addUnsaved(reply, report.indexNotSaved);
  return reply;
}

CommandReply replyTo(const ForgetReport& report, bool json) {
  CommandReply reply;
  addUnsaved(reply, report.indexNotSaved);
  if (!json && !report.indexNotSaved) {
    reply.output = captureCount(report.entries.size()) + " removed from History\n";
  }
  for (const ForgetReport::Stayed& stayed : report.stayed) {
    reply.status = ExitStatus::failed;
    reply.error += fmt::format("{}: {}\n", stayed.entry->id, stayed.reason);
  }
  return reply;
}

std::string remarksOn(const PruneReport& report) {
  std::string remarks = silenceOf(report.silentFolders);
  if (report.renamed > 0) {
    remarks += captureCount(report.renamed) + " found under " +
               (report.renamed == 1 ? "another name" : "other names") + ".\n";
  }
  if (report.outOfReach > 0) {
    remarks += captureCount(report.outOfReach) + " out of reach " +
               (report.outOfReach == 1 ? "stays" : "stay") + " in History.\n";
  }
  if (report.inDoubt > 0) {
    remarks += captureCount(report.inDoubt) + (report.inDoubt == 1 ? " stays" : " stay") +
               " in History: the disk numbers its files anew, and several may be " +
               (report.inDoubt == 1 ? "its own.\n" : "theirs.\n");
  }
  if (report.replaced > 0) {
    remarks += captureCount(report.replaced) +
               " not in a folder that may be another one than before, put in its place or "
               "numbered anew by its disk: kept in History. "
               "\"vantorel library prune --replaced\" removes such captures.\n";
  }
  return remarks;
}

CommandReply replyTo(const TrashSweep& sweep, const HistoryStore& store, bool json) {
  CommandReply reply;
  if (!json) reply.output = deletedFeedback(sweep.removed.size()) + "\n";
  if (!sweep.removed.empty() && sweep.isUndoTaken) {
    reply.error =
        "This can't be undone, since an undo before it waits for its disk; the files are in the "
        "Trash.\n";
  } else if (!sweep.removed.empty()) {
    reply.error = fmt::format("\"vantorel library undo\" brings {} back within 8 seconds.\n",
                              sweep.removed.size() == 1 ? "it" : "them");
  }
  for (const RemovedEntry& one : sweep.removed) {
    const std::string remark = originalRemark(one);
    if (!remark.empty()) reply.error += nameInCell(*one.entry) + ": " + remark + "\n";
  }
  addFailures(reply, sweep.failures, store);
  addUnsaved(reply, sweep.indexNotSaved);
  return reply;
}

CommandReply replyTo(const UndoOutcome& outcome, const HistoryStore& store) {
  CommandReply reply;
  addFailures(reply, outcome.failures, store);
  addUnsaved(reply, outcome.indexNotSaved);
  return reply;
}

CommandReply replyTo(const RelocationOutcome& outcome, const Path& folder, bool json,
                     bool isCalledOff) {
  CommandReply reply;
  const auto alert = RelocationReport::alert(outcome);
  if (alert) {
    const bool isStopped = outcome.stoppedForQuit && !outcome.indexNotSaved && !outcome.refusal;
    reply.status = isStopped ? ExitStatus::cancelled : ExitStatus::failed;
    reply.error = isStopped && isCalledOff
                      ? "Stopped. " + stillThere(outcome.failed + outcome.notMoved) + "\n"
                      : alert->text + "\n";
  }
  // Beside whatever else is told.
  if (outcome.failed > 0 && outcome.copiesLeft > 0) {
    reply.error += copiesLeftSentence(outcome) + "\n";
  }
  if (!json) {
    if (!alert || outcome.moved > 0) {
      reply.output =
          fmt::format("{} moved to {}\n", captureCount(outcome.moved), inOneCell(folder.string()));
    }
    return reply;
  }
  json::Writer writer;
  writer.beginObject();
  writer.member("folder", folder.string());
  for (const auto& [key, count] :
       {std::pair("moved", outcome.moved), std::pair("failed", outcome.failed),
        std::pair("notMoved", outcome.notMoved), std::pair("copiesLeft", outcome.copiesLeft)}) {
    writer.member(key, count);
  }
  writer.member("stopped", outcome.stoppedForQuit);
  writer.endObject();
  reply.output = writer.take() + "\n";
  return reply;
}

}  // namespace vantorel
