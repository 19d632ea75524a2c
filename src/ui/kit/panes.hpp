#pragma once

#include <initializer_list>

class QWidget;

namespace vantorel {

/// Hands the keyboard from the pane of a window that has it to the next one that can take it, or to
/// the one before, and shows where it has gone. Without a focus it goes on from `usual`.
void focusNextPane(std::initializer_list<QWidget*> panes, const QWidget* usual, bool isBack);

}  // namespace vantorel
