#pragma once

#include "Platform/Data.h"

#include <CoreFoundation/CoreFoundation.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

namespace platform {

struct ReleaseObject {
    void operator()(CFTypeRef object) const { CFRelease(object); }
};

/// An object of Core Foundation that is owned here (one that a function with "Create" or "Copy" in
/// its name handed back), and released once, when this goes; or null.
template <typename Reference>
using Owned = std::unique_ptr<std::remove_pointer_t<Reference>, ReleaseObject>;

/// A string of that text, or null when the text is not valid UTF-8.
Owned<CFStringRef> makeString(std::string_view text);

/// A data object of these bytes.
Owned<CFDataRef> makeData(const Data& bytes);

/// A number of 32 bits.
Owned<CFNumberRef> makeNumber(std::int32_t number);

/// The text of an object, in UTF-8; absent when the object is null, is no string, or is a string
/// that cannot be written in UTF-8.
std::optional<std::string> textOf(CFTypeRef object);

/// The value of a number that fits into 32 bits; absent when the object is null or no such number.
std::optional<std::int32_t> numberOf(CFTypeRef object);

/// The bytes of an object; absent when it is null or no data object.
std::optional<Data> bytesOf(CFTypeRef object);

} // namespace platform
