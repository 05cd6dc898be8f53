#include "KeychainDictionary.h"

#include "Platform/KeychainQuery.h"

#include <Security/Security.h>

#include <utility>

namespace platform {

namespace {

CFStringRef systemKey(SecKey key) {
    switch (key) {
    case kSecClass:
        return ::kSecClass;
    case kSecAttrService:
        return ::kSecAttrService;
    case kSecAttrCreator:
        return ::kSecAttrCreator;
    case kSecAttrAccount:
        return ::kSecAttrAccount;
    case kSecAttrGeneric:
        return ::kSecAttrGeneric;
    case kSecValueData:
        return ::kSecValueData;
    case kSecReturnRef:
        return ::kSecReturnRef;
    case kSecReturnAttributes:
        return ::kSecReturnAttributes;
    case kSecReturnData:
        return ::kSecReturnData;
    case kSecMatchLimit:
        break;
    }
    return ::kSecMatchLimit;
}

Owned<CFTypeRef> share(CFTypeRef constant) {
    return Owned<CFTypeRef>(CFRetain(constant));
}

/// The value, in the kind of object that the system wants under its key.
struct SystemValue {
    SecKey key;

    Owned<CFTypeRef> operator()(bool value) const {
        return share(value ? kCFBooleanTrue : kCFBooleanFalse);
    }
    Owned<CFTypeRef> operator()(std::int32_t value) const { return makeNumber(value); }
    Owned<CFTypeRef> operator()(const Data& value) const { return makeData(value); }
    Owned<CFTypeRef> operator()(const std::string& value) const {
        // There is but one value for each of these two.
        if (key == kSecClass)
            return share(::kSecClassGenericPassword);
        if (key == kSecMatchLimit)
            return share(::kSecMatchLimitOne);
        return makeString(value);
    }
};

Owned<CFMutableDictionaryRef> makeDictionary() {
    constexpr CFIndex unlimited = 0;
    return Owned<CFMutableDictionaryRef>(
        CFDictionaryCreateMutable(kCFAllocatorDefault, unlimited, &kCFTypeDictionaryKeyCallBacks,
                                  &kCFTypeDictionaryValueCallBacks));
}

CFDictionaryRef asDictionary(CFTypeRef object) {
    const bool isDictionary = object != nullptr && CFGetTypeID(object) == CFDictionaryGetTypeID();
    return isDictionary ? static_cast<CFDictionaryRef>(object) : nullptr;
}

void addAttributes(const SecDictionary& query, CFDictionaryRef found, SecDictionary& record) {
    for (const SecKey key : {kSecClass, kSecAttrService, kSecAttrCreator})
        record[key] = query.at(key);
    if (auto account = textOf(CFDictionaryGetValue(found, ::kSecAttrAccount)))
        record[kSecAttrAccount] = std::move(*account);
    if (auto generic = bytesOf(CFDictionaryGetValue(found, ::kSecAttrGeneric)))
        record[kSecAttrGeneric] = std::move(*generic);
}

} // namespace

Owned<CFDictionaryRef> keychainDictionary(const SecDictionary& dictionary) {
    Owned<CFMutableDictionaryRef> result = makeDictionary();
    for (const auto& [key, value] : dictionary) {
        const Owned<CFTypeRef> object = std::visit(SystemValue{key}, value);
        CFDictionarySetValue(result.get(), systemKey(key), object.get());
    }
    return Owned<CFDictionaryRef>(result.release());
}

std::optional<SecDictionary> recordOfResult(const SecDictionary& query, CFTypeRef found) {
    if (!asks(query, kSecReturnAttributes)) {
        auto secret = bytesOf(found);
        return secret ? std::optional(SecDictionary{{kSecValueData, std::move(*secret)}})
                      : std::nullopt;
    }
    const CFDictionaryRef dictionary = asDictionary(found);
    if (dictionary == nullptr)
        return std::nullopt;
    SecDictionary record;
    // Every item has a secret; one that is not there is empty.
    if (asks(query, kSecReturnData))
        record[kSecValueData] =
            bytesOf(CFDictionaryGetValue(dictionary, ::kSecValueData)).value_or(Data());
    addAttributes(query, dictionary, record);
    return record;
}

} // namespace platform
