#include "Platform/ProcessMemory.h"

#include <sys/resource.h>

namespace platform {

void protectProcessMemory() {
    const rlimit none = {};
    setrlimit(RLIMIT_CORE, &none);
}

} // namespace platform
