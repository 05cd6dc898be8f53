#pragma once

#include "Platform/Error.h"

#include <string>

namespace platform {

/// The transport library's failure as an error: its code (a CURLcode) and its words, or its usual
/// words for the code when it has said nothing. The words end in logs and may quote a proxy's URL:
/// what stands before an "@" in it, the user and the password, is taken away.
Error transferError(long code, const std::string& words);

} // namespace platform
