#pragma once

#include <memory>
#include <stdexcept>
#include <string>

namespace simulator {

/// Owns an OpenSSL object and releases it with the function given.
template <auto Release>
struct Releaser {
    template <typename Object>
    void operator()(Object* object) const {
        Release(object);
    }
};

template <typename Object, auto Release>
using Handle = std::unique_ptr<Object, Releaser<Release>>;

/// Throws std::runtime_error with the action and OpenSSL's own reason, and empties its error queue.
[[noreturn]] void throwOpenSSLError(const std::string& action);

/// Throws as above unless the condition, OpenSSL's word on success, holds.
inline void require(bool succeeded, const char* action) {
    if (!succeeded) {
        throwOpenSSLError(action);
    }
}

} // namespace simulator
