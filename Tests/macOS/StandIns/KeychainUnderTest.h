#pragma once

#include "Keychain.h"

#include <algorithm>
#include <string>

/// A keychain of the test's own, empty at first, which this process has as its user's as long as
/// this lives: the stand-ins'.
class KeychainUnderTest {
public:
    KeychainUnderTest() { standins::keychain() = {}; }
    KeychainUnderTest(const KeychainUnderTest&) = delete;
    KeychainUnderTest& operator=(const KeychainUnderTest&) = delete;
    ~KeychainUnderTest() { standins::keychain() = {}; }

    /// Stores an item as another program does.
    void storeAsAnotherProgram(const std::string& service, const std::string& creator,
                               const std::string& secret) {
        auto item = std::make_shared<standins::Item>();
        item->itemClass = "genp";
        item->service = service;
        item->creator = codeOf(creator);
        item->account = "another";
        item->secret.assign(secret.begin(), secret.end());
        standins::keychain().items.push_front(std::move(item));
    }

    /// The secret of an item as another program reads it; empty when there is none.
    std::string readAsAnotherProgram(const std::string& service, const std::string& creator) {
        for (const auto& item : standins::keychain().items) {
            if (item->service == service && item->creator == codeOf(creator))
                return {item->secret.begin(), item->secret.end()};
        }
        return "";
    }

    /// The number of items with this service name, whoever made them.
    std::size_t numberOfItems(const std::string& service) {
        const auto& items = standins::keychain().items;
        return static_cast<std::size_t>(
            std::count_if(items.begin(), items.end(),
                          [&](const auto& item) { return item->service == service; }));
    }

private:
    /// Four characters as a number, the first in the most significant byte.
    static std::int32_t codeOf(const std::string& characters) {
        std::uint32_t code = 0;
        for (const char character : characters)
            code = code << 8U | static_cast<unsigned char>(character);
        return static_cast<std::int32_t>(code);
    }
};
