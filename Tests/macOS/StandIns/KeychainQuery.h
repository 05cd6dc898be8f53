#pragma once

#include "Keychain.h"

#include <Security/Security.h>

#include <string>

namespace standins {

/// The kinds of value that the keys of a query or set have: anything else is a complaint.
bool isSound(CFDictionaryRef dictionary, const std::vector<CFStringRef>& keys);

/// Whether the dictionary says true under that key.
bool asks(CFDictionaryRef dictionary, CFStringRef key);

bool matches(const Item& item, CFDictionaryRef query);

/// Writes into the item what the set holds.
void apply(CFDictionaryRef set, Item& item);

/// The item's attributes, with its secret when asked for, in a dictionary of the caller's.
CFDictionaryRef makeRecord(const Item& item, bool withSecret);

CFDataRef makeData(const std::vector<UInt8>& bytes);

} // namespace standins
