#pragma once

#include "CoreFoundationObject.h"

#include <stop_token>

namespace platform {

/// What the script of a proxy setting of the kind "automatic configuration" says of the target:
/// proxies like those of the settings. Null when the script cannot be had or fails, when neither is
/// clear within proxyResolverTimeLimit, and soon after it is asked to stop. Blocks; runs the
/// calling thread's run loop in a mode of its own.
Owned<CFArrayRef> automaticProxies(CFDictionaryRef setting, CFURLRef target,
                                   const std::stop_token& stop);

} // namespace platform
