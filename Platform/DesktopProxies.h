#pragma once

#include "Platform/URL.h"

#include <stop_token>
#include <string>
#include <vector>

namespace platform {

/// What each system adds to proxiesForURL: the proxies by which the desktop's own settings, the
/// environment aside, want the server reached. What ProxyResolver.h promises holds here.
std::vector<std::string> proxiesOfDesktop(const URL& server, const std::stop_token& stop);

} // namespace platform
