#pragma once

#include "Authority.h"

#include <cstdlib>
#include <stdexcept>

/// The throw-away certificate authority that the private world trusts. Throws outside of it.
inline simulator::Authority worldAuthority() {
    const char* const directory = std::getenv("VT_WORLD_AUTHORITY");
    if (directory == nullptr)
        throw std::runtime_error("This test runs in the private world only: Tests/World/enter");
    return simulator::Authority::load(directory);
}
