#pragma once

#include "StoredRecords.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

/// Every operation of the store on records, on a keychain that fails.
inline void expectEveryOperationToFail() {
    EXPECT_FALSE(VTTokenStore::setToken(bytes("token"), "host", "a@example.org"));
    EXPECT_FALSE(VTTokenStore::setEphemeralCode("code", "host"));
    EXPECT_EQ(readToken(), TokenRecord());
    EXPECT_EQ(readCode(), CodeRecord());
    EXPECT_FALSE(VTTokenStore::clearToken());
    EXPECT_FALSE(VTTokenStore::clearEphemeralCode());
}

/// The lines of the operations above, on a keychain that fails for this reason.
inline std::vector<std::string> linesOfEveryOperation(const std::string& reason) {
    return {"Failed to add or update the Ardentra registration token: " + reason,
            "Failed to add or update the Ardentra ephemeral code: " + reason,
            "An error occurred while attempting to load the Ardentra registration token: " + reason,
            "An error occurred while attempting to load the Ardentra ephemeral code: " + reason,
            "Unable to remove the Ardentra registration token: " + reason,
            "Unable to remove the Ardentra ephemeral code: " + reason};
}
