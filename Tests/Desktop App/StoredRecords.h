#pragma once

#include "VTTokenStore.h"

#include <optional>
#include <string>

/// The two records as the store's getters hand them back.

inline constexpr const char* tokenService = "Ardentra Registration";
inline constexpr const char* codeService = "Ardentra Registration (ephemeral code)";

/// What the getter of the registration record wrote; "untouched" where it wrote nothing.
struct TokenRecord {
    bool succeeded = false;
    std::optional<platform::Data> token = platform::encodeUTF8("untouched");
    std::optional<std::string> server = "untouched";
    std::optional<std::string> account = "untouched";

    bool operator==(const TokenRecord&) const = default;
};

inline TokenRecord noToken() {
    return {true, std::nullopt, "", std::nullopt};
}

inline TokenRecord readToken() {
    TokenRecord record;
    record.succeeded = VTTokenStore::getToken(record.token, record.server, record.account);
    return record;
}

/// The same for the ephemeral-code record.
struct CodeRecord {
    bool succeeded = false;
    std::optional<std::string> code = "untouched";
    std::optional<std::string> server = "untouched";

    bool operator==(const CodeRecord&) const = default;
};

inline CodeRecord readCode() {
    CodeRecord record;
    record.succeeded = VTTokenStore::getEphemeralCode(record.code, record.server);
    return record;
}

inline platform::Data bytes(const std::string& text) {
    return platform::encodeUTF8(text);
}
