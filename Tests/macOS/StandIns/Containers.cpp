#include "Objects.h"

#include <algorithm>

using namespace standins;

StandInArray::~StandInArray() {
    for (const CFTypeRef value : values)
        CFRelease(value);
}

StandInDictionary::~StandInDictionary() {
    for (const auto& [key, value] : entries) {
        CFRelease(key);
        CFRelease(value);
    }
}

const void* StandInDictionary::find(const void* key) const {
    const auto entry = std::find_if(entries.begin(), entries.end(),
                                    [&](const auto& one) { return isEqual(one.first, key); });
    return entry == entries.end() ? nullptr : entry->second;
}

CFIndex CFArrayGetCount(CFArrayRef array) {
    const auto* const known = objectOf<StandInArray>(array);
    return known == nullptr ? 0 : static_cast<CFIndex>(known->values.size());
}

const void* CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index) {
    if (index < 0 || index >= CFArrayGetCount(array)) {
        complain("a value beyond the end of an array");
        return nullptr;
    }
    return objectOf<StandInArray>(array)->values[static_cast<std::size_t>(index)];
}

CFTypeID CFDictionaryGetTypeID() {
    return static_cast<CFTypeID>(Type::Dictionary);
}

CFMutableDictionaryRef CFDictionaryCreateMutable(CFAllocatorRef, CFIndex capacity,
                                                 const CFDictionaryKeyCallBacks* keyCallBacks,
                                                 const CFDictionaryValueCallBacks* valueCallBacks) {
    if (capacity != 0 || keyCallBacks != &kCFTypeDictionaryKeyCallBacks ||
        valueCallBacks != &kCFTypeDictionaryValueCallBacks)
        complain("a dictionary that is limited, or does not hold what is in it");
    return make(std::make_unique<StandInDictionary>());
}

void CFDictionarySetValue(CFMutableDictionaryRef dictionary, const void* key, const void* value) {
    auto* const known = objectOf<StandInDictionary>(dictionary);
    if (known == nullptr || objectAt(key) == nullptr || objectAt(value) == nullptr)
        return;
    if (known->find(key) != nullptr)
        complain("a key of a dictionary was set twice");
    known->entries.emplace_back(CFRetain(key), CFRetain(value));
}

const void* CFDictionaryGetValue(CFDictionaryRef dictionary, const void* key) {
    const auto* const known = objectOf<StandInDictionary>(dictionary);
    return known == nullptr ? nullptr : known->find(key);
}
