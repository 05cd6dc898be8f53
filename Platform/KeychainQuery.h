#pragma once

#include "Platform/Security.h"

/// What it makes sense to ask of a keychain: the same for the keychain of every system.
namespace platform {

/// The value under the key, or null when there is none or it is of another kind. Owned by the
/// dictionary.
template <typename Value>
const Value* findValue(const SecDictionary& dictionary, SecKey key) {
    const auto entry = dictionary.find(key);
    return entry == dictionary.end() ? nullptr : std::get_if<Value>(&entry->second);
}

/// Whether the query says true under that key.
bool asks(const SecDictionary& query, SecKey key);

/// Whether the query asks for an item's attributes, its secret, or both.
bool asksForRecord(const SecDictionary& query);

/// Whether the query says which item it means (class, service and creator, each of its kind, the
/// service as text without a zero byte), holds nothing else that a query cannot hold, and does not
/// ask for a reference and a record at once.
bool isSoundQuery(const SecDictionary& query);

/// Whether the set holds only what can be changed of an item, each of its kind, texts in UTF-8.
bool isSoundChangeSet(const SecDictionary& set);

/// Whether the set describes a whole new item: which one it is, its secret, and nothing else but
/// what can be changed of it and a match limit.
bool isSoundItem(const SecDictionary& set);

} // namespace platform
