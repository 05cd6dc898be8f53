#pragma once

#include "Platform/URL.h"

namespace platform {

/// What each system adds to Workspace::openURL, whose promises hold here: opens a URL that is known
/// to be of the scheme http or https.
bool openWebPage(const URL& url);

} // namespace platform
