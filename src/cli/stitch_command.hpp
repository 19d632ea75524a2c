#pragma once

#include <string>
#include <vector>

#include "base/result.hpp"
#include "capture/records/export_format.hpp"
#include "cli/command_reply.hpp"
#include "platform/files.hpp"
#include "platform/image_codec.hpp"

namespace CLI {
class App;
}

namespace vantorel {

namespace command {

/// Joins pictures of a page, each scrolled on from the one before, to one tall picture.
struct Stitch {
  std::vector<Path> frames;  ///< absolute, two at least, in order
  Path output;               ///< absolute
  ExportFormat format = ExportFormat::png;
  double scale = 1;       ///< pixels per point of the frames
  bool explains = false;  ///< prints what each comparison found
  bool replaces = false;  ///< a file that is there already
};

}  // namespace command

/// The options of "stitch".
class StitchOptions {
 public:
  explicit StitchOptions(CLI::App& app);

  [[nodiscard]] bool isChosen() const;

  /// What they ask for, typed in `folder`, or what is wrong with them. When it is chosen.
  [[nodiscard]] Result<command::Stitch> command(const Path& folder) const;

 private:
  CLI::App* stitch_;
  std::vector<std::string> frames_;
  std::string output_;
  std::string scale_;
  bool explains_ = false;
  bool replaces_ = false;
};

/// Does it. Nothing is written unless frames were joined. Blocks for as long as it takes.
[[nodiscard]] CommandReply stitchFrames(const command::Stitch& what, bool json, Files& files,
                                        const ImageCodec& codec);

}  // namespace vantorel
