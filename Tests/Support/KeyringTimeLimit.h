#pragma once

#include "Platform/Linux/SecretService.h"

#include <chrono>

/// Bounds each answer of the keyring, for as long as this lives, so that tests need not wait long.
class KeyringTimeLimit {
public:
    explicit KeyringTimeLimit(std::chrono::milliseconds limit) {
        platform::secretServiceTimeLimit = limit;
    }
    KeyringTimeLimit(const KeyringTimeLimit&) = delete;
    KeyringTimeLimit& operator=(const KeyringTimeLimit&) = delete;
    ~KeyringTimeLimit() { platform::secretServiceTimeLimit = before_; }

private:
    std::chrono::microseconds before_ = platform::secretServiceTimeLimit;
};
