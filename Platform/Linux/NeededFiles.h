#pragma once

#include "Platform/Confinement.h"
#include "Platform/Linux/FileAccess.h"

namespace platform {

/// The files that a process needs which reaches a service and, with a window, shows it in the
/// user's desktop; as of now, with the environment that it has. Makes the folders of the toolkit's
/// caches that are not there yet. No document of the user is among them.
FileAccess neededFiles(ProcessUse use);

} // namespace platform
