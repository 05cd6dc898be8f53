#include "KeychainQuery.h"

#include "Objects.h"

#include <algorithm>
#include <array>

namespace standins {

namespace {

template <typename Kind>
const Kind* valueOf(CFDictionaryRef dictionary, CFStringRef key) {
    const void* const value = CFDictionaryGetValue(dictionary, key);
    return value == nullptr ? nullptr : objectOf<Kind>(value);
}

/// The system's constants are the very objects, not just any string with their text.
bool isOfItsKind(CFStringRef key, const void* value) {
    const Object* const object = objectAt(value);
    const std::array isKey = {
        key == kSecAttrService || key == kSecAttrAccount,
        key == kSecAttrGeneric || key == kSecValueData, key == kSecAttrCreator,
        key == kSecReturnRef || key == kSecReturnAttributes || key == kSecReturnData};
    constexpr std::array types = {Type::String, Type::Data, Type::Number, Type::Boolean};
    for (std::size_t kind = 0; kind < types.size(); ++kind) {
        if (isKey[kind])
            return object != nullptr && object->type == types[kind];
    }
    return value == (key == kSecClass ? kSecClassGenericPassword : kSecMatchLimitOne);
}

void set(CFMutableDictionaryRef dictionary, CFStringRef key, CFTypeRef value) {
    CFDictionarySetValue(dictionary, key, value);
    CFRelease(value);
}

} // namespace

bool isSound(CFDictionaryRef dictionary, const std::vector<CFStringRef>& keys) {
    const auto* const known = objectOf<StandInDictionary>(dictionary);
    if (known == nullptr)
        return false;
    return std::all_of(known->entries.begin(), known->entries.end(), [&](const auto& entry) {
        const auto key = std::find(keys.begin(), keys.end(), entry.first);
        const bool sound = key != keys.end() && isOfItsKind(*key, entry.second);
        if (!sound)
            complain("a query or set holds a key or a kind of value that it must not");
        return sound;
    });
}

bool asks(CFDictionaryRef dictionary, CFStringRef key) {
    return CFDictionaryGetValue(dictionary, key) == kCFBooleanTrue;
}

bool matches(const Item& item, CFDictionaryRef query) {
    const auto* const service = valueOf<StandInString>(query, kSecAttrService);
    const auto* const creator = valueOf<StandInNumber>(query, kSecAttrCreator);
    return item.itemClass == textOf(kSecClassGenericPassword) && service != nullptr &&
           item.service == service->text && creator != nullptr && item.creator == creator->value;
}

void apply(CFDictionaryRef set, Item& item) {
    if (const auto* const secret = valueOf<StandInData>(set, kSecValueData))
        item.secret = secret->bytes;
    if (const auto* const account = valueOf<StandInString>(set, kSecAttrAccount))
        item.account = account->text;
    if (const auto* const generic = valueOf<StandInData>(set, kSecAttrGeneric))
        item.generic = generic->bytes;
}

CFDataRef makeData(const std::vector<UInt8>& bytes) {
    return make(std::make_unique<StandInData>(bytes));
}

CFDictionaryRef makeRecord(const Item& item, bool withSecret) {
    StandInDictionary* const record = make(std::make_unique<StandInDictionary>());
    set(record, kSecClass, makeString(item.itemClass));
    set(record, kSecAttrService, makeString(item.service));
    if (item.creator)
        set(record, kSecAttrCreator, make(std::make_unique<StandInNumber>(*item.creator)));
    if (item.account)
        set(record, kSecAttrAccount, makeString(*item.account));
    if (item.generic)
        set(record, kSecAttrGeneric, makeData(*item.generic));
    if (withSecret && !(item.secret.empty() && keychain().leavesOutEmptySecrets))
        set(record, kSecValueData, makeData(item.secret));
    // More than anyone asked for, as the real ones do.
    set(record, constantString("labl"), makeString(item.service));
    return record;
}

} // namespace standins
