#include "Platform/Security.h"

#include <array>
#include <cerrno>
#include <cstring>

namespace platform {

namespace {

std::string textOfErrno(int error) {
    if (error == ETIMEDOUT)
        return "The keyring did not answer in time.";
    std::array<char, 256> buffer{};
    return strerror_r(error, buffer.data(), buffer.size());
}

} // namespace

std::string SecCopyErrorMessageString(OSStatus status) {
    switch (status) {
    case errSecSuccess:
        return "No error.";
    case errSecParam:
        return "The keyring cannot be asked for this.";
    case errSecUserCanceled:
        return "The prompt of the keyring was dismissed.";
    case errSecNotAvailable:
        return "There is no session bus to reach a keyring on.";
    case errSecServiceNotAvailable:
        return "No keyring service is running.";
    case errSecDuplicateItem:
        return "The item is in the keyring already.";
    case errSecItemNotFound:
        return "The item is not in the keyring.";
    case errSecDecode:
        return "The item in the keyring cannot be read as a record.";
    case errSecInteractionNotAllowed:
        return "The keyring is locked.";
    case errSecIO:
        return "The keyring went away in the middle.";
    case errSecInternalComponent:
        return "The keyring answered with an error.";
    default:
        return status > kPOSIXErrorBase ? textOfErrno(status - kPOSIXErrorBase)
                                        : "Unknown status " + std::to_string(status) + ".";
    }
}

} // namespace platform
