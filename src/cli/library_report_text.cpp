#include "cli/library_report_text.hpp"

#include <fmt/format.h>

#include <string>

#include "base/json_writer.hpp"
#include "base/size_text.hpp"
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
    return fmt::format("{} {}, {}\n", report.captures,
                       report.captures == 1 ? "capture" : "captures", sizeText(report.bytes));
  }
  json::Writer writer;
  writer.beginObject();
  writer.member("captures", static_cast<std::int64_t>(report.captures));
  writer.member("bytes", static_cast<std::int64_t>(report.bytes));
  writer.endObject();
  return writer.take() + "\n";
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

}  // namespace vantorel
