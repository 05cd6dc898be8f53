#pragma once

namespace platform {

/// Gives the application's windows its icon, which the desktop's icon theme has under the name of
/// the desktop entry, as soon as the first window has been painted: looking it up takes as long as
/// showing a window does. Only on X11, where windows carry their icons; elsewhere the desktop knows
/// it from the desktop entry. Without such an icon nothing happens. On the main thread only, when
/// there is an application object.
void setWindowIconAfterFirstPaint();

} // namespace platform
