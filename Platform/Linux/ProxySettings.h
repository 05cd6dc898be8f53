#pragma once

#include <string_view>

namespace platform {

/// The desktops whose proxy settings can be read; the others use GNOME's.
enum class ProxySettings { none, gnome, kde };

/// Whose proxy settings count for this process, and "none" where they can hold no proxy.
///
/// XDG_CURRENT_DESKTOP tells the desktop. A process that a service has started may not have it:
/// then KDE's settings count if they name a proxy, and GNOME's otherwise. Whether there can be a
/// proxy is seen from the files that hold the settings: KDE's kioslaverc; for GNOME the user's and
/// the administrator's dconf databases, key files and defaults, where each counts that as much as
/// mentions proxies.
ProxySettings proxySettingsInForce();

/// The name by which the program "proxy-settings" knows them.
constexpr std::string_view nameOf(ProxySettings settings) {
    return settings == ProxySettings::kde ? "kde" : "gnome";
}

} // namespace platform
