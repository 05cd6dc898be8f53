#include "OpenSSLHandle.h"

#include <openssl/err.h>

#include <array>

namespace simulator {

void throwOpenSSLError(const std::string& action) {
    std::array<char, 256> reason{};
    ERR_error_string_n(ERR_get_error(), reason.data(), reason.size());
    ERR_clear_error();
    throw std::runtime_error(action + ": " + reason.data());
}

} // namespace simulator
