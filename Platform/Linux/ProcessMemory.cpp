#include "Platform/ProcessMemory.h"

#include <sys/prctl.h>

namespace platform {

void protectProcessMemory() {
    // Not the limit of core files, which a browser would inherit.
    prctl(PR_SET_DUMPABLE, 0);
}

} // namespace platform
