#pragma once

#include "CoreFoundationObject.h"
#include "Platform/Security.h"

#include <optional>

namespace platform {

/// A sound query, change set or item (see KeychainQuery.h) as the system's keychain functions take
/// it: service and account as strings, secret and generic attribute as data, the creator as a
/// number of 32 bits, the rest as the system's own constants.
Owned<CFDictionaryRef> keychainDictionary(const SecDictionary& dictionary);

/// What the system found for a query that asks for a record: the data alone, or a dictionary. It is
/// absent when it is neither. What identifies the item is taken from the query, which it matches.
std::optional<SecDictionary> recordOfResult(const SecDictionary& query, CFTypeRef found);

} // namespace platform
