#pragma once

class QWidget;

namespace platform {

/// Where a window stands among the others on the screen. A null window is nothing to order. On the
/// main thread only.

/// Shows the window, also one that was minimised, in front of the others and gives it the keyboard,
/// as far as the desktop lets an application do that.
void makeKeyAndOrderFront(QWidget* window);

/// Shows the window in front of the others. The keyboard stays where it is.
void orderFront(QWidget* window);

/// Takes the window off the screen without closing it. When it is shown again, it is where it was.
void orderOut(QWidget* window);

/// Moves a window that is partly off its screen as far as needed for it to be on the screen, its
/// frame included; one that is larger keeps its top there. Does nothing where windows may not place
/// themselves (Wayland).
void constrainFrameToScreen(QWidget* window);

} // namespace platform
