#include "cli/stitch_command.hpp"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <charconv>
#include <utility>
#include <variant>

#include "app/output_guard.hpp"
#include "base/json_writer.hpp"
#include "cli/annotation_commands.hpp"
#include "cli/command_outline.hpp"
#include "scrolling/scrolling_canvas.hpp"

namespace vantorel {
namespace {

constexpr std::uint64_t largestFrame = 512ULL << 20;  // bytes of a file
constexpr double leastScale = 0.25;
constexpr double largestScale = 8;

std::unexpected<Failure> misused(std::string why) {
  return failed(FailureKind::malformed, std::move(why));
}

std::optional<double> parseScale(std::string_view text) {
  double scale = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, scale);
  const bool isScale =
      error == std::errc{} && stop == end && scale >= leastScale && scale <= largestScale;
  return isScale ? std::optional(scale) : std::nullopt;
}

void writeVerdict(json::Writer& writer, const FrameJoin& join) {
  struct Members {
    json::Writer& writer;
    void operator()(const FrameJoin::Joined& joined) const {
      writer.member("verdict", "joined");
      writer.member("offset", joined.offset);
      writer.member("agreement", double(joined.agreement));
      writer.key("bands");
      writer.beginObject();
      writer.member("header", joined.bands.header);
      writer.member("footer", joined.bands.footer);
      writer.endObject();
    }
    void operator()(const FrameJoin::NoMovement& still) const {
      writer.member("verdict", "noMovement");
      writer.member("agreement", double(still.agreement));
    }
    void operator()(const FrameJoin::ScrolledTooFast& lost) const {
      writer.member("verdict", "scrolledTooFast");
      writer.member("bestAgreement", double(lost.bestAgreement));
    }
    void operator()(const FrameJoin::MultiplePanes& panes) const {
      writer.member("verdict", "multiplePanes");
      writer.member("primaryOffset", panes.primaryOffset);
      writer.member("secondaryOffset", panes.secondaryOffset);
    }
    void operator()(FrameJoin::Indeterminate) const { writer.member("verdict", "indeterminate"); }
  };
  std::visit(Members{writer}, join.value);
}

std::string explained(const Path& frame, const ScrollingCanvas::Step& step) {
  const FrameMatch& match = step.match;
  json::Writer writer;
  writer.beginObject();
  writer.member("frame", frame.string());
  writeVerdict(writer, match.join);
  writer.member("position", step.position);
  writer.member("height", step.height);
  if (match.contentRows) {
    writer.key("contentRows");
    writer.beginArray();
    write(writer, match.contentRows->first);
    write(writer, match.contentRows->last);
    writer.endArray();
  }
  if (match.backgroundEnergy) writer.member("backgroundEnergy", double(*match.backgroundEnergy));
  writer.endObject();
  return writer.take() + "\n";
}

/// Why a frame is not in the picture; empty for one that is.
std::string_view whyLeftOut(ScrollingSight sight) {
  switch (sight) {
    case ScrollingSight::waiting:
    case ScrollingSight::joined: return {};
    case ScrollingSight::tooFast: return "it shares too little with the frames before";
    case ScrollingSight::panes: return "parts of it moved by unlike amounts";
    case ScrollingSight::nothing: return "too little can be seen to tell how far it was scrolled";
    case ScrollingSight::full: return "the picture would be larger than pictures may be";
    case ScrollingSight::scaleChanged: return "it has another size";
  }
  std::unreachable();
}

}  // namespace

StitchOptions::StitchOptions(CLI::App& app)
    : stitch_(app.add_subcommand(
          "stitch",
          "Join pictures of a page, each scrolled on from the one before, to one tall picture")) {
  stitch_->add_option("frame", frames_, "the picture files, in order; all of one size")
      ->type_name(kinds::file)
      ->required();
  stitch_->add_option("--output", output_, "the file to write, in the format its name ends in")
      ->type_name(kinds::file)
      ->required();
  stitch_->add_option("--scale", scale_, "pixels per point of the frames (default: 1)")
      ->type_name("SCALE");
  stitch_->add_flag("--explain", explains_,
                    "print what the comparison of each frame found, as JSON, one a line");
  stitch_->add_flag("--force", replaces_, "replace the output file if it is there");
}

bool StitchOptions::isChosen() const { return stitch_->parsed(); }

Result<command::Stitch> StitchOptions::command(const Path& folder) const {
  command::Stitch what{.explains = explains_, .replaces = replaces_};
  for (const std::string& frame : frames_) {
    if (frame.empty()) return misused("a frame must name a file");
    what.frames.push_back((folder / frame).lexically_normal());
  }
  if (what.frames.size() < 2) return misused("stitch needs two frames at least");
  if (output_.empty()) return misused(outputNamesNothing);
  const auto format = formatOfFileName(output_);
  if (!format) return misused("--output must end in .png, .jpg, .webp or .heic");
  what.format = *format;
  what.output = (folder / output_).lexically_normal();
  if (stitch_->count("--scale") > 0) {
    const auto scale = parseScale(scale_);
    if (!scale) return misused("--scale must be a number from 0.25 to 8");
    what.scale = *scale;
  }
  return what;
}

CommandReply stitchFrames(const command::Stitch& what, bool json, Files& files,
                          const ImageCodec& codec) {
  const ProtectedFiles kept{.inputs = what.frames};
  if (const auto may = checkOutput(files, what.output, kept); !may) {
    return failedReply(sentence(may.error()));
  }
  if (!what.replaces && files.status(what.output)) {
    return failedReply(
        fmt::format("{} is there already; --force replaces it.", what.output.string()));
  }
  CommandReply reply;
  const auto fail = [&](std::string why) {
    CommandReply end = failedReply(std::move(why));
    end.output = std::move(reply.output);
    end.error = std::move(reply.error) + end.error;
    return end;
  };
  ScrollingCanvas canvas;
  const ScrollFrameScale scale{.display = what.scale};
  std::optional<PixelSize> size;
  int leftOut = 0;
  double time = 0;
  for (const Path& frame : what.frames) {
    const auto bytes = files.read(frame, largestFrame);
    if (!bytes) {
      return fail(fmt::format("{} can't be read: {}.", frame.string(), bytes.error().reason));
    }
    const auto image = codec.decode(*bytes);
    if (!image) {
      return fail(fmt::format("{} can't be read: {}.", frame.string(), image.error().reason));
    }
    if (size && image->size() != *size) {
      return fail(fmt::format("{} is {} x {} pixels and the frames before are {} x {}.",
                              frame.string(), image->width(), image->height(), size->width,
                              size->height));
    }
    const bool isFirst = !size;
    size = image->size();
    const ScrollingCanvas::Step step =
        canvas.add({.image = *image,
                    .contentRect = {0, 0, size->width / what.scale, size->height / what.scale},
                    .displayTime = time++},
                   scale);
    if (isFirst) continue;
    if (what.explains) reply.output += explained(frame, step);
    const std::string_view why = whyLeftOut(step.sight);
    if (why.empty()) continue;
    ++leftOut;
    reply.error += fmt::format("{} is left out: {}.\n", frame.string(), why);
  }
  if (!canvas.hasGrown()) {
    return fail(leftOut > 0 ? "No frame could be joined to another, so nothing was written."
                            : "The frames all show the same part of the page, so nothing was "
                              "written.");
  }
  const PixelSize whole = canvas.size();
  if (!codec.canHold(what.format, whole)) {
    return fail(fmt::format("{} can't hold {} x {} pixels; PNG can.", displayName(what.format),
                            whole.width, whole.height));
  }
  const auto encoded = codec.encode(
      canvas.finish(),
      {.format = what.format, .pixelsPerPoint = what.scale, .pngEffort = PNGEffort::small});
  if (!encoded) {
    return fail(fmt::format("The picture can't be encoded: {}.", encoded.error().reason));
  }
  if (const auto written = writeOutput(files, what.output, *encoded, kept); !written) {
    return fail(sentence(written.error()));
  }
  if (what.explains) return reply;
  if (json) {
    json::Writer writer;
    writer.beginObject();
    writer.member("path", what.output.string());
    writer.key("pixelSize");
    write(writer, whole);
    writer.endObject();
    reply.output = writer.take() + "\n";
  } else {
    reply.output = what.output.string() + "\n";
  }
  return reply;
}

}  // namespace vantorel
