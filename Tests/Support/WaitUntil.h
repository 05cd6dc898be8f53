#pragma once

#include <chrono>
#include <thread>

/// Long enough for whatever a loaded machine does with sanitizers or under Valgrind; a test that
/// waits so long fails.
inline constexpr std::chrono::seconds patience{120};

/// Waits until the condition holds. False when it does not in time.
template <typename Condition>
bool waitUntil(Condition condition, std::chrono::milliseconds limit = patience) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}
