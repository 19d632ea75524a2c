#pragma once

#include <expected>
#include <filesystem>
#include <optional>
#include <string>
#include <variant>

#include "app/capture_annotator.hpp"

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

/// The words of "annotate" and "render", added to a parser before it runs and read after it. Must
/// outlive the parsing.
class AnnotationOptions {
 public:
  void addTo(CLI::App& app);

  using Command = std::variant<command::Annotate, command::Render>;

  /// What was asked, or what is wrong with it; nothing when it was none of the two. File names
  /// start in `folder`.
  [[nodiscard]] std::expected<std::optional<Command>, std::string> command(
      const Path& folder) const;

 private:
  [[nodiscard]] std::expected<std::optional<Command>, std::string> annotate(
      const Path& folder) const;
  [[nodiscard]] std::expected<std::optional<Command>, std::string> render(const Path& folder) const;

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
