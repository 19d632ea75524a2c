#include "cli/annotation_commands.hpp"

#include <CLI/CLI.hpp>

#include <utility>

#include "capture/records/export_format.hpp"
#include "cli/command_outline.hpp"
#include "cli/one_of.hpp"

namespace vantorel {
namespace {

Path inFolder(const Path& folder, const std::string& name) {
  return (folder / name).lexically_normal();
}

std::unexpected<Failure> misused(std::string why) {
  return failed(FailureKind::malformed, std::move(why));
}

}  // namespace

NamedPicture namedPicture(const std::string& name, const Path& folder) {
  // Ids hold neither.
  const bool isFile = name.find_first_of("/.") != std::string::npos;
  return isFile ? NamedPicture{.file = inFolder(folder, name)} : NamedPicture{.capture = name};
}

void AnnotationOptions::addTo(CLI::App& app) {
  annotate_ = app.add_subcommand(
      "annotate", "Store annotations in a capture, or print them; its file stays as it is");
  annotate_->add_option("id", base_, captureWords)->type_name(kinds::capture)->required();
  annotate_
      ->add_option("--apply", apply_, "a JSON file whose annotations replace those of the capture")
      ->type_name(kinds::file);
  annotate_->add_flag("--print", print_, "print the capture's annotations as JSON");

  render_ = app.add_subcommand("render", "Draw an annotated picture into a file; prints its path");
  render_->add_option("what", base_, namedPictureWords)->type_name(kinds::file)->required();
  render_
      ->add_option("--document", document_,
                   "a JSON file with the annotations to draw (default: the capture's own)")
      ->type_name(kinds::file);
  render_->add_option("--output", output_, "the file to write; - is standard output")
      ->type_name(kinds::file)
      ->required();
  render_->add_option("--format", format_, "default: by the file's name, PNG on standard output")
      ->check(oneOf<ExportFormat>());

  edit_ =
      app.add_subcommand("edit", "Open pictures in Annotate; Vantorel starts when it does not run");
  edit_->add_option("what", pictures_, namedPictureWords)->type_name(kinds::picture);
  edit_->add_flag("--clipboard", clipboard_, "the clipboard's image");
  pin_ = app.add_subcommand(
      "pin", "Keep pictures above all windows; Vantorel starts when it does not run");
  pin_->add_option("what", pictures_, namedPictureWords)->type_name(kinds::picture)->required();
}

auto AnnotationOptions::command(const Path& folder) const -> Result<std::optional<Command>> {
  if (annotate_->parsed()) return annotate(folder);
  if (render_->parsed()) return render(folder);
  if (edit_->parsed()) return edit(folder);
  if (pin_->parsed()) return command::Pin{pictures(folder)};
  return std::nullopt;
}

std::vector<NamedPicture> AnnotationOptions::pictures(const Path& folder) const {
  std::vector<NamedPicture> named;
  for (const std::string& name : pictures_) named.push_back(namedPicture(name, folder));
  return named;
}

auto AnnotationOptions::edit(const Path& folder) const -> Result<std::optional<Command>> {
  if (clipboard_ == !pictures_.empty()) {
    return misused("edit needs either the id of a capture or a picture file, or --clipboard");
  }
  return command::Edit{pictures(folder), clipboard_};
}

auto AnnotationOptions::annotate(const Path& folder) const -> Result<std::optional<Command>> {
  const bool apply = annotate_->count("--apply") > 0;
  if (apply == print_) return misused("annotate needs either --apply FILE or --print");
  if (!apply) return command::Annotate{base_, std::nullopt};
  if (apply_.empty()) return misused("--apply must name a file");
  return command::Annotate{base_, inFolder(folder, apply_)};
}

auto AnnotationOptions::render(const Path& folder) const -> Result<std::optional<Command>> {
  CaptureAnnotator::Drawing drawing;
  if (!namedPicture(base_, folder).file.empty()) {
    drawing.base = CaptureAnnotator::Drawing::Picture{inFolder(folder, base_)};
  } else {
    drawing.base = CaptureAnnotator::Drawing::Capture{base_};
  }
  if (render_->count("--document") > 0) {
    if (document_.empty()) return misused("--document must name a file");
    drawing.document = inFolder(folder, document_);
  }
  if (output_.empty()) {
    return misused(outputNamesNothing);
  }
  const bool isFile = output_ != "-";
  if (isFile) drawing.output = inFolder(folder, output_);
  std::optional<ExportFormat> format = ExportFormat::png;
  if (!format_.empty()) {
    format = enumFromName<ExportFormat>(format_);
  } else if (isFile) {
    format = formatOfFileName(output_);
  }
  if (!format) {
    return misused(
        "--format is needed: the name of the output ends in none of .png, .jpg, .webp and .heic");
  }
  drawing.format = *format;
  return command::Render{std::move(drawing)};
}

}  // namespace vantorel
