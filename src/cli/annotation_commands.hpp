#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "app/capture_annotator.hpp"
#include "app/named_picture.hpp"
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

/// Opens pictures in Annotate, in the tray's process; where none runs, this one lives on in the
/// tray.
struct Edit {
  std::vector<NamedPicture> pictures;
  bool clipboard = false;
};

/// Likewise, to float above all windows.
struct Pin {
  std::vector<NamedPicture> pictures;
};

}  // namespace command

/// What is wrong with an empty "--output".
inline constexpr const char* outputNamesNothing =
    "--output must name a file, or be - for standard output";

inline constexpr const char* namedPictureWords =
    "a capture's id, a unique start of it, or latest; or a picture file: a name with a slash or a "
    "point in it";

/// What `namedPictureWords` says of `name`, typed in `folder`.
[[nodiscard]] NamedPicture namedPicture(const std::string& name, const Path& folder);

/// The words of "annotate", "render", "edit" and "pin", added to a parser before it runs and read
/// after it. Must outlive the parsing.
class AnnotationOptions {
 public:
  void addTo(CLI::App& app);

  using Command = std::variant<command::Annotate, command::Render, command::Edit, command::Pin>;

  /// What was asked, or what is wrong with it; nothing when it was none of them. File names
  /// start in `folder`.
  [[nodiscard]] Result<std::optional<Command>> command(const Path& folder) const;

 private:
  [[nodiscard]] Result<std::optional<Command>> annotate(const Path& folder) const;
  [[nodiscard]] Result<std::optional<Command>> render(const Path& folder) const;

  [[nodiscard]] Result<std::optional<Command>> edit(const Path& folder) const;
  [[nodiscard]] std::vector<NamedPicture> pictures(const Path& folder) const;

  CLI::App* annotate_ = nullptr;
  CLI::App* render_ = nullptr;
  CLI::App* edit_ = nullptr;
  CLI::App* pin_ = nullptr;
  std::vector<std::string> pictures_;
  bool clipboard_ = false;
  std::string base_;
  std::string apply_;
  bool print_ = false;
  std::string document_;
  std::string output_;
  std::string format_;
};

}  // namespace vantorel
