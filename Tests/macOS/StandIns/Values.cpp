#include "Objects.h"
#include "Platform/Data.h"

#include <algorithm>
#include <cstring>
#include <mutex>

namespace standins {

namespace {

template <typename Kind>
const Kind* constant(std::unique_ptr<Kind> object) {
    return make(std::move(object), true);
}

/// How many units of UTF-16 the text takes: two for a character that takes four bytes here.
CFIndex lengthOf(const std::string& text) {
    CFIndex length = 0;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        const bool isContinuation = (byte & 0xC0U) == 0x80U;
        length += (isContinuation ? 0 : 1) + (byte >= 0xF0U ? 1 : 0);
    }
    return length;
}

void expectDefaults(CFStringEncoding encoding, Boolean isExternalRepresentation) {
    if (encoding != kCFStringEncodingUTF8 || isExternalRepresentation != 0)
        complain("a string in another form than plain UTF-8");
}

} // namespace

CFStringRef makeString(const std::string& text) {
    return make(std::make_unique<StandInString>(text));
}

CFStringRef constantString(const std::string& text) {
    static std::mutex mutex;
    static std::map<std::string, CFStringRef> strings;
    const std::lock_guard lock(mutex);
    CFStringRef& string = strings[text];
    if (string == nullptr)
        string = constant(std::make_unique<StandInString>(text));
    return string;
}

CFStringRef makeStringWithoutUTF8() {
    auto string = std::make_unique<StandInString>("?");
    string->hasUTF8 = false;
    return make(std::move(string));
}

std::string textOf(CFStringRef string) {
    const auto* const known = objectOf<StandInString>(string);
    if (known == nullptr)
        complain("something was used as a string that is none");
    return known == nullptr ? "" : known->text;
}

bool isEqual(const void* one, const void* other) {
    if (one == other)
        return true;
    const auto* const left = dynamic_cast<StandInString*>(objectAt(one));
    const auto* const right = dynamic_cast<StandInString*>(objectAt(other));
    return left != nullptr && right != nullptr && left->text == right->text;
}

} // namespace standins

using namespace standins;

const CFAllocatorRef kCFAllocatorDefault = nullptr;
const CFBooleanRef kCFBooleanTrue = constant(std::make_unique<StandInBoolean>(true));
const CFBooleanRef kCFBooleanFalse = constant(std::make_unique<StandInBoolean>(false));
const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks{0};
const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks{0};

CFTypeID CFStringGetTypeID() {
    return static_cast<CFTypeID>(Type::String);
}

CFStringRef CFStringCreateWithBytes(CFAllocatorRef, const UInt8* bytes, CFIndex count,
                                    CFStringEncoding encoding, Boolean isExternalRepresentation) {
    expectDefaults(encoding, isExternalRepresentation);
    const std::string text(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(count));
    return platform::isValidUTF8(text) ? makeString(text) : nullptr;
}

CFIndex CFStringGetLength(CFStringRef string) {
    return lengthOf(textOf(string));
}

CFIndex CFStringGetBytes(CFStringRef string, CFRange range, CFStringEncoding encoding,
                         UInt8 lossByte, Boolean isExternalRepresentation, UInt8* buffer,
                         CFIndex bufferSize, CFIndex* used) {
    expectDefaults(encoding, isExternalRepresentation);
    const std::string text = textOf(string);
    if (range.location != 0 || range.length != lengthOf(text) || lossByte != 0)
        complain("a string was not converted whole and without loss");
    const auto* const known = objectOf<StandInString>(string);
    if (known == nullptr || !known->hasUTF8) {
        *used = 0;
        return 0;
    }
    *used = static_cast<CFIndex>(text.size());
    if (buffer == nullptr)
        return range.length;
    if (bufferSize < *used)
        complain("a buffer is too small for a string");
    else
        std::copy(text.begin(), text.end(), buffer);
    return range.length;
}

CFTypeID CFDataGetTypeID() {
    return static_cast<CFTypeID>(Type::Data);
}

CFDataRef CFDataCreate(CFAllocatorRef, const UInt8* bytes, CFIndex length) {
    return make(std::make_unique<StandInData>(std::vector<UInt8>(bytes, bytes + length)));
}

CFIndex CFDataGetLength(CFDataRef data) {
    const auto* const known = objectOf<StandInData>(data);
    return known == nullptr ? 0 : static_cast<CFIndex>(known->bytes.size());
}

const UInt8* CFDataGetBytePtr(CFDataRef data) {
    const auto* const known = objectOf<StandInData>(data);
    return known == nullptr ? nullptr : known->bytes.data();
}

Boolean CFEqual(CFTypeRef one, CFTypeRef other) {
    return isEqual(one, other) ? 1 : 0;
}

CFTypeID CFURLGetTypeID() {
    return static_cast<CFTypeID>(Type::URL);
}

CFURLRef CFURLCreateWithBytes(CFAllocatorRef, const UInt8* bytes, CFIndex length,
                              CFStringEncoding encoding, CFURLRef base) {
    expectDefaults(encoding, 0);
    if (base != nullptr)
        complain("a URL that is not whole");
    return make(std::make_unique<StandInURL>(
        std::string(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(length))));
}

CFTypeID CFNumberGetTypeID() {
    return static_cast<CFTypeID>(Type::Number);
}

Boolean CFNumberGetValue(CFNumberRef number, CFNumberType type, void* value) {
    const auto* const known = objectOf<StandInNumber>(number);
    if (known == nullptr || type != kCFNumberSInt32Type)
        return 0;
    std::memcpy(value, &known->value, sizeof known->value);
    return 1;
}

CFNumberRef CFNumberCreate(CFAllocatorRef, CFNumberType type, const void* value) {
    if (type != kCFNumberSInt32Type)
        complain("a number of another kind than one of 32 bits");
    std::int32_t number = 0;
    std::memcpy(&number, value, sizeof number);
    return make(std::make_unique<StandInNumber>(number));
}
