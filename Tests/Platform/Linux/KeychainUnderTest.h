#pragma once

#include "Support/PrivateSession.h"

#include <stdexcept>
#include <string>

/// A keychain of the test's own, empty at first, which this process has as its user's as long as
/// this lives: a real keyring.
class KeychainUnderTest {
public:
    /// Stores an item as another program does.
    void storeAsAnotherProgram(const std::string& service, const std::string& creator,
                               const std::string& secret) {
        const ProgramResult result =
            runProgram({{"secret-tool", "store", "--label=Foreign", "class", "generic-password",
                         "service", service, "creator", creator},
                        {},
                        secret});
        if (result.exitStatus != 0)
            throw std::runtime_error("No item was stored: " + result.standardError);
    }

    /// The secret of an item as another program reads it; empty when there is none.
    std::string readAsAnotherProgram(const std::string& service, const std::string& creator) {
        return runProgram({{"secret-tool", "lookup", "service", service, "creator", creator}})
            .standardOutput;
    }

    /// The number of items with this service name, whoever made them.
    std::size_t numberOfItems(const std::string& service) {
        const std::string found =
            runProgram({{"secret-tool", "search", "--all", "service", service}}).standardOutput;
        std::size_t count = 0;
        for (auto at = found.find("label = "); at != std::string::npos;
             at = found.find("label = ", at + 1))
            ++count;
        return count;
    }

private:
    PrivateSession session_{PrivateSession::Keyring::unlocked};
};
