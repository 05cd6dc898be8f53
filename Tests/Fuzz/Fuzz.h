#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

/// What libFuzzer calls with each input; returns 0.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

inline std::string textOf(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

/// What does not hold is a finding.
inline void require(bool holds) {
    if (!holds)
        std::abort();
}
