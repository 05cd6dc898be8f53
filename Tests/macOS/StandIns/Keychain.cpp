#include "Keychain.h"

#include "KeychainQuery.h"
#include "Objects.h"

#include <algorithm>

struct StandInKeychainItem : standins::Object {
    explicit StandInKeychainItem(std::shared_ptr<standins::Item> itsItem)
        : Object(standins::Type::Other), item(std::move(itsItem)) {}
    std::shared_ptr<standins::Item> item;
};

namespace standins {

Keychain& keychain() {
    static Keychain theKeychain;
    return theKeychain;
}

namespace {

std::vector<CFStringRef> queryKeys() {
    return {kSecClass,     kSecAttrService,      kSecAttrCreator, kSecMatchLimit,
            kSecReturnRef, kSecReturnAttributes, kSecReturnData};
}

std::vector<CFStringRef> changeKeys() {
    return {kSecValueData, kSecAttrAccount, kSecAttrGeneric};
}

std::vector<CFStringRef> itemKeys() {
    return {kSecClass,     kSecAttrService, kSecAttrCreator, kSecMatchLimit,
            kSecValueData, kSecAttrAccount, kSecAttrGeneric};
}

std::shared_ptr<Item> itemFor(CFDictionaryRef query) {
    const auto& items = keychain().items;
    const auto found = std::find_if(items.begin(), items.end(),
                                    [&](const auto& item) { return matches(*item, query); });
    return found == items.end() ? nullptr : *found;
}

/// Not the creator, but the account makes an item another one.
bool isThereAlready(const Item& item) {
    const auto& items = keychain().items;
    return std::any_of(items.begin(), items.end(), [&](const auto& other) {
        return other->itemClass == item.itemClass && other->service == item.service &&
               other->account == item.account;
    });
}

CFTypeRef resultFor(CFDictionaryRef query, const std::shared_ptr<Item>& item) {
    if (keychain().findsText)
        return makeString("a text");
    if (asks(query, kSecReturnRef))
        return make(std::make_unique<StandInKeychainItem>(item));
    if (asks(query, kSecReturnAttributes))
        return makeRecord(*item, asks(query, kSecReturnData));
    return makeData(item->secret);
}

} // namespace

} // namespace standins

using namespace standins;

const CFStringRef kSecClass = constantString("class");
const CFStringRef kSecClassGenericPassword = constantString("genp");
const CFStringRef kSecAttrService = constantString("svce");
const CFStringRef kSecAttrCreator = constantString("crtr");
const CFStringRef kSecAttrAccount = constantString("acct");
const CFStringRef kSecAttrGeneric = constantString("gena");
const CFStringRef kSecValueData = constantString("v_Data");
const CFStringRef kSecReturnRef = constantString("r_Ref");
const CFStringRef kSecReturnAttributes = constantString("r_Attributes");
const CFStringRef kSecReturnData = constantString("r_Data");
const CFStringRef kSecMatchLimit = constantString("m_Limit");
const CFStringRef kSecMatchLimitOne = constantString("m_LimitOne");

OSStatus SecItemCopyMatching(CFDictionaryRef query, CFTypeRef* result) {
    if (!isSound(query, queryKeys()))
        return errSecParam;
    if (keychain().failure != errSecSuccess)
        return keychain().failure;
    const auto item = itemFor(query);
    if (!item)
        return errSecItemNotFound;
    if (result != nullptr)
        *result = resultFor(query, item);
    return errSecSuccess;
}

OSStatus SecItemAdd(CFDictionaryRef attributes, CFTypeRef* result) {
    if (!isSound(attributes, itemKeys()))
        return errSecParam;
    if (result != nullptr)
        complain("an item was added with a place for a result");
    if (keychain().failure != errSecSuccess)
        return keychain().failure;
    auto item = std::make_shared<Item>();
    item->itemClass = textOf(kSecClassGenericPassword);
    item->service =
        textOf(static_cast<CFStringRef>(CFDictionaryGetValue(attributes, kSecAttrService)));
    item->creator =
        objectOf<StandInNumber>(CFDictionaryGetValue(attributes, kSecAttrCreator))->value;
    apply(attributes, *item);
    if (isThereAlready(*item))
        return errSecDuplicateItem;
    keychain().items.push_back(std::move(item));
    return errSecSuccess;
}

OSStatus SecItemUpdate(CFDictionaryRef query, CFDictionaryRef attributesToUpdate) {
    if (!isSound(query, queryKeys()) || !isSound(attributesToUpdate, changeKeys()))
        return errSecParam;
    if (keychain().failure != errSecSuccess)
        return keychain().failure;
    const auto item = itemFor(query);
    if (!item)
        return errSecItemNotFound;
    apply(attributesToUpdate, *item);
    return errSecSuccess;
}

OSStatus SecKeychainItemDelete(SecKeychainItemRef item) {
    const auto* const known = objectOf<StandInKeychainItem>(item);
    if (known == nullptr)
        return errSecInvalidItemRef;
    if (keychain().failureOfDeletion != errSecSuccess)
        return keychain().failureOfDeletion;
    return std::erase(keychain().items, known->item) > 0 ? OSStatus(errSecSuccess)
                                                         : OSStatus(errSecInvalidItemRef);
}

OSStatus SecKeychainGetStatus(SecKeychainRef itsKeychain, SecKeychainStatus* status) {
    if (itsKeychain != nullptr)
        complain("another keychain than the default keychain");
    if (keychain().failureOfStatus == errSecSuccess)
        *status = keychain().status;
    return keychain().failureOfStatus;
}

OSStatus SecKeychainSetUserInteractionAllowed(Boolean state) {
    keychain().mayAskUser = state != 0;
    return errSecSuccess;
}

CFStringRef SecCopyErrorMessageString(OSStatus status, void* reserved) {
    if (reserved != nullptr)
        complain("an argument that is reserved was given");
    return status == errSecParam || status < -25000
               ? makeString("The stand-in's text for " + std::to_string(status) + ".")
               : nullptr;
}
