#include "Platform/ProcessMemory.h"

#include <array>

namespace platform {

[[gnu::noinline]] void wipeUnusedStack() {
    std::array<volatile char, 32 * 1024UL> unused; // NOLINT(*-member-init): for what is in it
    for (volatile char& byte : unused)
        byte = 0;
}

} // namespace platform
