#include "cli/redact_command.hpp"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "base/json_writer.hpp"
#include "cli/command_outline.hpp"
#include "text/sensitive_text_detector.hpp"

namespace vantorel {

RedactOptions::RedactOptions(CLI::App& app)
    : redact_(app.add_subcommand("redact", "Find what should not be shared")),
      scan_(redact_->add_subcommand(
          "scan", "List what should not be shared: addresses, numbers, keys, secrets")) {
  redact_->require_subcommand(1);
  scan_
      ->add_option("--text", text_,
                   "a file of plain text to look through; - is standard input. Where each find "
                   "lies is counted in bytes")
      ->type_name(kinds::file)
      ->required();
  scan_->fallthrough();
}

bool RedactOptions::isChosen() const { return redact_->parsed(); }

Result<command::Redact> RedactOptions::command(const Path& folder) const {
  if (text_.empty()) return failed(FailureKind::malformed, "--text must name a file");
  if (text_ == "-") return command::Redact{command::Redact::ScanText{}};
  return command::Redact{command::Redact::ScanText{(folder / text_).lexically_normal()}};
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
