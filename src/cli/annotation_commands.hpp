#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <variant>

#include "app/capture_annotator.hpp"
#include "base/result.hpp"

namespace CLI {
class App;
}

namespace vantorel {

namespace command {

/// Stores annotations in a capture, or prints them.
struct Annotate {
  std::string entryID;
  std::optional<Path> document;  ///< none: print
};

struct Render {
  CaptureAnnotator::Drawing drawing;
};

}  // namespace command

/// What is wrong with an empty "--output".
inline constexpr const char* outputNamesNothing =
    "--output must name a file, or be - for standard output";

/// The words of "annotate" and "render", added to a parser before it runs and read after it. Must
/// outlive the parsing.
class AnnotationOptions {
 public:
  void addTo(CLI::App& app);

  using Command = std::variant<command::Annotate, command::Render>;

  /// What was asked, or what is wrong with it; nothing when it was none of the two. File names
  /// start in `folder`.
  [[nodiscard]] Result<std::optional<Command>> command(const Path& folder) const;

 private:
  [[nodiscard]] Result<std::optional<Command>> annotate(const Path& folder) const;
  [[nodiscard]] Result<std::optional<Command>> render(const Path& folder) const;

  CLI::App* annotate_ = nullptr;
  CLI::App* render_ = nullptr;
  std::string base_;
  std::string apply_;
  bool print_ = false;
  std::string document_;
  std::string output_;
  std::string format_;
};

}  // namespace vantorel
