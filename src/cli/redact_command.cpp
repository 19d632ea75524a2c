#include "cli/redact_command.hpp"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <utility>

#include "base/json_writer.hpp"
#include "cli/annotation_commands.hpp"
#include "cli/command_outline.hpp"
#include "cli/one_of.hpp"
#include "text/sensitive_text_detector.hpp"
#include "text/sensitive_words.hpp"

namespace vantorel {

namespace {

constexpr const char* textFile =
    "a file of plain text to look through; - is standard input. Where each find lies is counted in "
    "bytes";

void write(json::Writer& writer, const SmartRedact::Proposal& proposal) {
  writer.beginObject();
  writer.member("kind", nameOf(proposal.kind));
  writer.key("rect");
  write(writer, proposal.rect);
  writer.member("find", proposal.match);
  if (!proposal.text.empty()) writer.member("text", proposal.text);
  writer.endObject();
}

std::string lines(const std::vector<SmartRedact::Proposal>& proposals, bool json) {
  std::string text;
  for (const SmartRedact::Proposal& proposal : proposals) {
    if (json) {
      json::Writer writer;
      write(writer, proposal);
      text += writer.take() + "\n";
    } else {
      const Box& box = proposal.rect;
      text += fmt::format("{}\t{:.0f},{:.0f},{:.0f},{:.0f}\t{}\n", nameOf(proposal.kind), box.x,
                          box.y, box.w, box.h, inOneCell(proposal.text));
    }
  }
  return text;
}

std::string unavailableLine(VisualDetectors unavailable) {
  const std::string words = unavailableSentence(unavailable);
  return words.empty() ? words : words + "\n";
}

}  // namespace

RedactOptions::RedactOptions(CLI::App& app)
    : redact_(app.add_subcommand("redact", "Find what should not be shared, and cover it")),
      scan_(redact_->add_subcommand(
          "scan", "List what should not be shared: addresses, numbers, keys, secrets")),
      apply_(redact_->add_subcommand(
          "apply", "Cover what is found in a capture, as annotations; its file stays as it is")),
      remove_(redact_->add_subcommand(
          "remove", "Uncover what Smart Redact covered in a capture's file when it was taken")),
      reapply_(redact_->add_subcommand("reapply", "Cover again what remove has uncovered")) {
  redact_->require_subcommand(1);
  scan_->add_option("what", picture_, namedPictureWords)->type_name(kinds::picture);
  scan_->add_option("--text", text_, textFile)->type_name(kinds::file);
  for (CLI::App* const change : {apply_, remove_, reapply_}) {
    change->add_option("id", capture_, captureWords)->type_name(kinds::capture)->required();
  }
  apply_->add_option("--kinds", kinds_, "only these, with commas between them (default: all)")
      ->delimiter(',')
      ->check(oneOf<SensitiveMatchKind>());
  apply_->add_option("--style", style_, "how it is covered (default: as set)")
      ->check(oneOf<RedactStyle>());
  for (CLI::App* const one : {scan_, apply_, remove_, reapply_}) one->fallthrough();
}

bool RedactOptions::isChosen() const { return redact_->parsed(); }

Result<command::Redact> RedactOptions::command(const Path& folder) const {
  if (apply_->parsed()) {
    CaptureRedactor::Wanted wanted;
    for (const std::string& kind : kinds_) {
      wanted.kinds.insert(*enumFromName<SensitiveMatchKind>(kind));
    }
    if (!style_.empty()) wanted.style = enumFromName<RedactStyle>(style_);
    return command::Redact{command::Redact::Apply{capture_, std::move(wanted)}};
  }
  if (remove_->parsed()) return command::Redact{command::Redact::Remove{capture_}};
  if (reapply_->parsed()) return command::Redact{command::Redact::Reapply{capture_}};
  const bool isText = scan_->count("--text") > 0;
  if (isText == (scan_->count("what") > 0)) {
    return failed(FailureKind::malformed, "redact scan needs either a picture or --text FILE");
  }
  if (!isText) return command::Redact{command::Redact::Scan{namedPicture(picture_, folder)}};
  if (text_.empty()) return failed(FailureKind::malformed, "--text must name a file");
  if (text_ == "-") return command::Redact{command::Redact::ScanText{}};
  return command::Redact{command::Redact::ScanText{(folder / text_).lexically_normal()}};
}

CommandReply scanReply(const CaptureRedactor::Answer<CaptureRedactor::Scan>& scan, bool json) {
  if (!scan) return failedReply(sentence(scan.error()));
  const SmartRedact::Outcome& found = scan->found;
  CommandReply reply{ExitStatus::done, lines(found.proposals, json),
                     unavailableLine(found.unavailable)};
  if (found.proposals.empty() && !json) reply.error += "Nothing sensitive found.\n";
  return reply;
}

CommandReply appliedReply(const CaptureRedactor::Answer<CaptureRedactor::Applied>& applied,
                          bool json) {
  if (!applied) return failedReply(sentence(applied.error()));
  CommandReply reply{ExitStatus::done, lines(applied->covered, json),
                     unavailableLine(applied->unavailable)};
  if (applied->covered.empty()) reply.error += "Nothing sensitive found; nothing was changed.\n";
  return reply;
}

CommandReply textScanReply(std::string_view text, const SensitiveTextDetector& detector,
                           bool json) {
  CommandReply reply;
  for (const SensitiveMatch& match : detector.matches(text)) {
    const std::string found(text.substr(match.range.begin, match.range.length()));
    if (!json) {
      reply.output += fmt::format("{}\t{}\t{}\t{}\n", nameOf(match.kind), match.range.begin,
                                  match.range.end, inOneCell(found));
      continue;
    }
    json::Writer writer;
    writer.beginObject();
    writer.member("kind", nameOf(match.kind));
    writer.member("begin", static_cast<std::int64_t>(match.range.begin));
    writer.member("end", static_cast<std::int64_t>(match.range.end));
    writer.member("text", found);
    writer.endObject();
    reply.output += writer.take() + "\n";
  }
  return reply;
}

}  // namespace vantorel
