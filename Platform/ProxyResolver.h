#pragma once

#include "Platform/URL.h"

#include <chrono>
#include <stop_token>
#include <string>
#include <vector>

namespace platform {

/// How long the desktop may take to say which proxies there are: a script may have to be fetched.
/// Only tests change it.
// NOLINTNEXTLINE(cert-err58-cpp): a constant initialiser throws nothing
inline constinit std::chrono::milliseconds proxyResolverTimeLimit{10'000};

/// The proxies by which the user's desktop wants a server reached, in the order in which they are
/// to be tried. Each is "direct://", for none, or "SCHEME://[USER:PASSWORD@]HOST:PORT"; the scheme
/// is "http", "https" (TLS to the proxy itself), "socks5h" (the proxy resolves the server's name),
/// "socks4a" (likewise) or "socks4"; user and password are percent-encoded. So a proxy may hold a
/// password and belongs in no log.
///
/// Empty when the desktop has no say:
/// - An environment variable names a proxy (https_proxy, HTTPS_PROXY, all_proxy or ALL_PROXY, not
///   empty). These come before the desktop's settings, as everywhere on the command line; the
///   transport reads them itself, no_proxy and NO_PROXY included.
/// - The user has no proxy settings. This is found out without asking the desktop, which would cost
///   more than a whole request.
/// - The desktop does not answer within proxyResolverTimeLimit, or its service for this is not
///   installed. A script that cannot be had is no reason to reach nothing at all: that is for
///   computers that travel, and browsers do the same.
///
/// What the settings exclude is excluded as the desktop has it. Of the URL, which is an https one,
/// only the server's name and port are told to anybody, a script included. Blocks; for a background
/// thread, any number at once. Returns at once, with whatever, when it is asked to stop.
std::vector<std::string> proxiesForURL(const URL& url, const std::stop_token& stop);

} // namespace platform
