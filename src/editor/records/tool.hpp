#pragma once

#include "base/enum_names.hpp"

namespace vantorel {

/// The tools in toolbar order. The names are stored in files and never change.
enum class Tool {
  select,
  crop,
  pen,
  highlighter,
  arrow,
  rect,
  ellipse,
  polygon,
  text,
  redact,
  highlightArea,
  counter,
  emoji,
  measure,
  eyedropper,
  selectText
};

template <>
inline constexpr auto enumNames<Tool> = std::to_array<EnumName<Tool>>({
    {Tool::select, "select"},
    {Tool::crop, "crop"},
    {Tool::pen, "pen"},
    {Tool::highlighter, "highlighter"},
    {Tool::arrow, "arrow"},
    {Tool::rect, "rect"},
    {Tool::ellipse, "ellipse"},
    {Tool::polygon, "polygon"},
    {Tool::text, "text"},
    {Tool::redact, "redact"},
    {Tool::highlightArea, "highlightArea"},
    {Tool::counter, "counter"},
    {Tool::emoji, "emoji"},
    {Tool::measure, "measure"},
    {Tool::eyedropper, "eyedropper"},
    {Tool::selectText, "selectText"},
});

}  // namespace vantorel
