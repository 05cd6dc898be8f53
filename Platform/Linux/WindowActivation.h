#pragma once

#include <QVariantMap>
#include <functional>

namespace platform {

/// What the desktop gave this process to come to the front with (DESKTOP_STARTUP_ID and
/// XDG_ACTIVATION_TOKEN), under the names that the Desktop Entry Specification has for it:
/// "desktop-startup-id" and "activation-token". To be called before the application object is made,
/// which takes it out of the environment.
QVariantMap platformDataOfEnvironment();

/// Brings windows to the front by the operation given, with the right to do so that the platform
/// data of another process carries: the activation token on Wayland, on X11 the user's time in the
/// startup identifier (Extended Window Manager Hints; Startup Notification Protocol), whose
/// sequence is completed. Without such data it is just the operation. On the main thread only.
void bringToFrontWith(const QVariantMap& platformData, const std::function<void()>& operation);

} // namespace platform
