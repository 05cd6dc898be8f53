#pragma once

#include <QWidget>
#include <string>
#include <vector>

/// The texts in the window that are not to be seen whole: text that does not fit into its label,
/// button, field or pop-up, controls that reach beyond what holds them or lie upon another, and
/// characters that no font has. A line of English about each; empty when there is none.
///
/// The window is visible and laid out. Of a pop-up every item is looked at.
std::vector<std::string> clippedTexts(const QWidget& window);
