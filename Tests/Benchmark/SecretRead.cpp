// The least that finding out about a registration costs: a program that does nothing but read the
// one secret.

#include "BareSecret.h"

#include <array>

int main() {
    std::array<char, 4096> secret{};
    return readBareSecret(secret.data(), secret.size()) == 0 ? 1 : 0;
}
