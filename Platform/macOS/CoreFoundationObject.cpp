#include "CoreFoundationObject.h"

namespace platform {

namespace {

constexpr Boolean isNoFile = 0; // a byte order mark is neither expected nor written

const UInt8* systemBytes(const void* bytes) {
    return static_cast<const UInt8*>(bytes);
}

bool is(CFTypeRef object, CFTypeID type) {
    return object != nullptr && CFGetTypeID(object) == type;
}

/// Converts the whole string and returns how many of its characters could be; with null it only
/// counts the bytes.
CFIndex convert(CFStringRef string, UInt8* buffer, CFIndex size, CFIndex& used) {
    constexpr UInt8 noReplacement = 0;
    const CFRange whole{0, CFStringGetLength(string)};
    return CFStringGetBytes(string, whole, kCFStringEncodingUTF8, noReplacement, isNoFile, buffer,
                            size, &used);
}

} // namespace

Owned<CFStringRef> makeString(std::string_view text) {
    return Owned<CFStringRef>(CFStringCreateWithBytes(kCFAllocatorDefault, systemBytes(text.data()),
                                                      static_cast<CFIndex>(text.size()),
                                                      kCFStringEncodingUTF8, isNoFile));
}

Owned<CFDataRef> makeData(const Data& bytes) {
    return Owned<CFDataRef>(CFDataCreate(kCFAllocatorDefault, systemBytes(bytes.data()),
                                         static_cast<CFIndex>(bytes.size())));
}

Owned<CFNumberRef> makeNumber(std::int32_t number) {
    return Owned<CFNumberRef>(CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt32Type, &number));
}

std::optional<std::string> textOf(CFTypeRef object) {
    if (!is(object, CFStringGetTypeID()))
        return std::nullopt;
    const auto* const string = static_cast<CFStringRef>(object);
    CFIndex size = 0;
    if (convert(string, nullptr, 0, size) != CFStringGetLength(string))
        return std::nullopt;
    std::string text(static_cast<std::size_t>(size), '\0');
    convert(string, reinterpret_cast<UInt8*>(text.data()), size, size);
    return text;
}

std::optional<std::int32_t> numberOf(CFTypeRef object) {
    std::int32_t number = 0;
    const bool fits =
        is(object, CFNumberGetTypeID()) &&
        CFNumberGetValue(static_cast<CFNumberRef>(object), kCFNumberSInt32Type, &number) != 0;
    return fits ? std::optional(number) : std::nullopt;
}

std::optional<Data> bytesOf(CFTypeRef object) {
    if (!is(object, CFDataGetTypeID()))
        return std::nullopt;
    const auto* const data = static_cast<CFDataRef>(object);
    const auto* const first = reinterpret_cast<const std::byte*>(CFDataGetBytePtr(data));
    return Data(first, first + CFDataGetLength(data));
}

} // namespace platform
