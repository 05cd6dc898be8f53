#include "Platform/Security.h"

#include "KeychainDictionary.h"
#include "Platform/KeychainQuery.h"

#include <Security/Security.h>

#include <utility>

// The functions on a reference to an item, and on the default keychain, count as deprecated in
// favour of a keychain that only signed applications with an entitlement of their own can use. They
// are what finds items where this application has always kept them.
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

namespace platform {

namespace {

class KeychainItem : public SecKeychainItem {
public:
    explicit KeychainItem(Owned<::SecKeychainItemRef> item) : item_(std::move(item)) {}

    OSStatus remove() const {
        const OSStatus status = ::SecKeychainItemDelete(item_.get());
        return status == errSecInvalidItemRef ? errSecItemNotFound : status;
    }

private:
    Owned<::SecKeychainItemRef> item_;
};

/// The system itself tells generic passwords apart by service and account alone.
bool isThereAlready(const SecDictionary& item) {
    SecDictionary query;
    for (const SecKey key : {kSecClass, kSecAttrService, kSecAttrCreator})
        query[key] = item.at(key);
    return ::SecItemCopyMatching(keychainDictionary(query).get(), nullptr) == errSecSuccess;
}

::SecKeychainItemRef itemOf(CFTypeRef found) {
    return static_cast<::SecKeychainItemRef>(const_cast<void*>(found));
}

} // namespace

OSStatus SecItemCopyMatching(const SecDictionary& query, SecResult& result) {
    if (!isSoundQuery(query))
        return errSecParam;
    const bool wantsResult = asksForRecord(query) || asks(query, kSecReturnRef);
    CFTypeRef found = nullptr;
    const OSStatus status =
        ::SecItemCopyMatching(keychainDictionary(query).get(), wantsResult ? &found : nullptr);
    Owned<CFTypeRef> owner(found);
    if (status != errSecSuccess || !wantsResult)
        return status;
    if (!asksForRecord(query)) {
        result =
            std::make_unique<KeychainItem>(Owned<::SecKeychainItemRef>(itemOf(owner.release())));
        return errSecSuccess;
    }
    auto record = recordOfResult(query, found);
    if (!record)
        return errSecDecode;
    result = std::move(*record);
    return errSecSuccess;
}

OSStatus SecItemUpdate(const SecDictionary& query, const SecDictionary& attributesToUpdate) {
    if (!isSoundQuery(query) || !isSoundChangeSet(attributesToUpdate))
        return errSecParam;
    return ::SecItemUpdate(keychainDictionary(query).get(),
                           keychainDictionary(attributesToUpdate).get());
}

OSStatus SecItemAdd(const SecDictionary& attributes) {
    if (!isSoundItem(attributes))
        return errSecParam;
    if (isThereAlready(attributes))
        return errSecDuplicateItem;
    return ::SecItemAdd(keychainDictionary(attributes).get(), nullptr);
}

OSStatus SecKeychainItemDelete(const SecKeychainItem& item) {
    const auto* const keychainItem = dynamic_cast<const KeychainItem*>(&item);
    return keychainItem != nullptr ? keychainItem->remove() : errSecParam;
}

OSStatus SecKeychainGetStatus(SecKeychainStatus& keychainStatus) {
    ::SecKeychainStatus bits = 0;
    const ::SecKeychainRef defaultKeychain = nullptr;
    const OSStatus status = ::SecKeychainGetStatus(defaultKeychain, &bits);
    if (status == errSecNoDefaultKeychain)
        keychainStatus = 0;
    else if (status == errSecSuccess)
        keychainStatus = bits & kSecUnlockStateStatus;
    return status == errSecNoDefaultKeychain ? errSecSuccess : status;
}

OSStatus SecKeychainSetUserInteractionAllowed(bool state) {
    return ::SecKeychainSetUserInteractionAllowed(state ? 1 : 0);
}

std::string SecCopyErrorMessageString(OSStatus status) {
    const Owned<CFStringRef> text(::SecCopyErrorMessageString(status, nullptr));
    return textOf(text.get()).value_or("Unknown status " + std::to_string(status) + ".");
}

} // namespace platform
