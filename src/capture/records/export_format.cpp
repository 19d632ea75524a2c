#include "capture/records/export_format.hpp"

#include <utility>

namespace vantorel {

std::string_view displayName(ExportFormat format) {
  switch (format) {
    case ExportFormat::png: return "PNG";
    case ExportFormat::jpeg: return "JPEG";
    case ExportFormat::heic: return "HEIC";
    case ExportFormat::webp: return "WebP";
  }
  std::unreachable();
}

std::string_view fileExtension(ExportFormat format) {
  switch (format) {
    case ExportFormat::png: return "png";
    case ExportFormat::jpeg: return "jpg";
    case ExportFormat::heic: return "heic";
    case ExportFormat::webp: return "webp";
  }
  std::unreachable();
}

std::optional<ExportFormat> formatOfFileName(std::string_view name) {
  const auto point = name.rfind('.');
  if (point == std::string_view::npos) return std::nullopt;
  std::string extension(name.substr(point + 1));
  for (char& c : extension) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  if (extension == "jpg") return ExportFormat::jpeg;
  if (extension == "heif") return ExportFormat::heic;
  return enumFromName<ExportFormat>(extension);
}

}  // namespace vantorel
