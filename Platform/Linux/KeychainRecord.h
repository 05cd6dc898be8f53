#pragma once

#include "Platform/Data.h"

#include <optional>
#include <string>
#include <string_view>

namespace platform {

/// What an item of the keyring holds in its one secret, so that one write changes all of it.
struct KeychainRecord {
    Data value;
    std::optional<std::string> account;
    std::optional<Data> generic;

    bool operator==(const KeychainRecord&) const = default;
};

/// The record as a JSON object in ASCII: "value" and "generic" in base64 (RFC 4648, 4), "account"
/// as a string; what is absent is left out. Absent when the account is not valid UTF-8.
std::optional<std::string> encodeKeychainRecord(const KeychainRecord& record);

/// The record that the text is, or absent when it is not exactly such an object: another member, a
/// member of another type, base64 that is not canonical, a byte outside ASCII. Any text is safe.
std::optional<KeychainRecord> decodeKeychainRecord(std::string_view text);

} // namespace platform
