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

}  // namespace vantorel
