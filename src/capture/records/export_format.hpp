#pragma once

#include <optional>
#include <string_view>

#include "base/enum_names.hpp"

namespace vantorel {

/// The file format of captures.
enum class ExportFormat { png, jpeg, heic, webp };

template <>
inline constexpr auto enumNames<ExportFormat> = std::to_array<EnumName<ExportFormat>>({
    {ExportFormat::png, "png"},
    {ExportFormat::jpeg, "jpeg"},
    {ExportFormat::heic, "heic"},
    {ExportFormat::webp, "webp"},
});

/// The name people know the format by: "PNG", "JPEG", "HEIC", "WebP".
[[nodiscard]] std::string_view displayName(ExportFormat format);

/// The format that a file of that name holds, by its extension: "jpg" and "heif" too. Nothing for
/// other names.
[[nodiscard]] std::optional<ExportFormat> formatOfFileName(std::string_view name);

/// The file name extension without its point. JPEG's differs from the format's name: "jpg".
[[nodiscard]] std::string_view fileExtension(ExportFormat format);

}  // namespace vantorel
