#pragma once

namespace vantorel {

/// Has screen readers see the captures of a `HistoryView` as a list, whose items are made when they
/// are asked for. Once is enough.
void installCapturesAccessibility();

}  // namespace vantorel
