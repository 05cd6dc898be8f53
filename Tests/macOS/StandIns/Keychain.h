#pragma once

#include <cstdint>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace standins {

struct Item {
    std::string itemClass;
    std::string service;
    std::optional<std::int32_t> creator;
    std::optional<std::string> account;
    std::optional<std::vector<std::uint8_t>> generic;
    std::vector<std::uint8_t> secret;
};

/// The stand-ins' keychain; 0 is the status of success. Items are found by class, service and
/// creator; of several that match, the first.
struct Keychain {
    std::list<std::shared_ptr<Item>> items;

    /// What every function on items answers instead of doing anything.
    std::int32_t failure = 0;

    /// What a deletion alone answers instead.
    std::int32_t failureOfDeletion = 0;

    /// A search finds a text in the place of the item.
    bool findsText = false;

    /// An empty secret is not in what a search finds.
    bool leavesOutEmptySecrets = false;

    bool mayAskUser = true;
    std::int32_t failureOfStatus = 0; ///< the answer to how the keychain stands
    std::uint32_t status = 6;         ///< it can be read and written, and is locked
};

Keychain& keychain();

} // namespace standins
