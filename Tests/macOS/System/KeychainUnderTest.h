#pragma once

#include "Command.h"

#include <cstdlib>
#include <stdexcept>
#include <string>

/// A keychain of the test's own, empty at first, which this process has as its user's: the one that
/// with-keychain has made. Throws without it.
class KeychainUnderTest {
public:
    KeychainUnderTest() {
        if (path_.empty())
            throw std::runtime_error("This test runs in a keychain of its own: with-keychain");
        for (const char* const service : {"Keychain test", "Another", "Ardentra Registration",
                                          "Ardentra Registration (ephemeral code)"})
            removeAll(service);
    }

    /// Stores an item as another program does.
    void storeAsAnotherProgram(const std::string& service, const std::string& creator,
                               const std::string& secret) {
        if (!runs("security add-generic-password -a another -s '" + service + "' -c " + creator +
                  " -w '" + secret + "' '" + path_ + "'"))
            throw std::runtime_error("No item was stored");
    }

    /// The secret of an item as another program reads it; empty when there is none.
    std::string readAsAnotherProgram(const std::string& service, const std::string& creator) {
        return outputOf("security find-generic-password -s '" + service + "' -c " + creator +
                        " -w '" + path_ + "' 2> /dev/null");
    }

    /// The number of items with this service name, whoever made them.
    std::size_t numberOfItems(const std::string& service) {
        const std::string all = outputOf("security dump-keychain '" + path_ + "'");
        const std::string attribute = "\"svce\"<blob>=\"" + service + "\"";
        std::size_t count = 0;
        for (auto at = all.find(attribute); at != std::string::npos;
             at = all.find(attribute, at + 1))
            ++count;
        return count;
    }

private:
    void removeAll(const std::string& service) const {
        while (runs("security delete-generic-password -s '" + service + "' '" + path_ +
                    "' > /dev/null 2>&1"))
            continue;
    }

    static std::string pathOfKeychain() {
        const char* const path = std::getenv("VT_TEST_KEYCHAIN");
        return path == nullptr ? "" : path;
    }

    std::string path_ = pathOfKeychain();
};
