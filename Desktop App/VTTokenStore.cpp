#include "VTTokenStore.h"

#include "Platform/Log.h"

#include <utility>

using namespace platform;

namespace {

constexpr const char* tokenService = "Ardentra Registration";
constexpr const char* ephemeralCodeService = "Ardentra Registration (ephemeral code)";
constexpr std::int32_t creatorCode = 0x4E52564C; // "NRVL"

SecDictionary recordQueryForService(const std::string& service) {
    SecDictionary query = VTTokenStore::queryAttributesForService(service);
    query[kSecReturnAttributes] = true;
    query[kSecReturnData] = true;
    query.erase(kSecReturnRef);
    return query;
}

template <typename Value>
std::optional<Value> valueOf(const SecDictionary* record, SecKey key) {
    if (record == nullptr || !record->contains(key))
        return std::nullopt;
    return std::get<Value>(record->at(key));
}

/// An attribute that is absent is no bytes, and no bytes are the empty text.
std::optional<std::string> textOf(const SecDictionary* record, SecKey key) {
    return decodeUTF8(valueOf<Data>(record, key).value_or(Data()));
}

bool reportSuccess(OSStatus status, const std::string& leadingMessage) {
    if (status != errSecSuccess)
        VTTokenStore::logStatus(status, leadingMessage);
    return status == errSecSuccess;
}

} // namespace

SecDictionary VTTokenStore::queryAttributesForService(const std::string& service) {
    return {{kSecClass, kSecClassGenericPassword},
            {kSecAttrService, service},
            {kSecAttrCreator, creatorCode},
            {kSecReturnRef, true},
            {kSecMatchLimit, kSecMatchLimitOne}};
}

OSStatus
VTTokenStore::addOrUpdateKeychainItemForService(const std::string& service, const Data& withValue,
                                                const std::optional<std::string>& andAccount,
                                                const std::optional<Data>& andGenericAttribute) {
    SecDictionary changes{{kSecValueData, withValue}};
    if (andAccount)
        changes[kSecAttrAccount] = *andAccount;
    if (andGenericAttribute)
        changes[kSecAttrGeneric] = *andGenericAttribute;
    const SecDictionary query = queryAttributesForService(service);
    OSStatus status = SecItemUpdate(query, changes);
    if (status == errSecItemNotFound) {
        changes.insert(query.begin(), query.end());
        changes.erase(kSecReturnRef);
        status = SecItemAdd(changes);
    }
    return status;
}

OSStatus VTTokenStore::getKeychainItem(SecKeychainItemRef& item, const std::string& forService) {
    SecResult result;
    const OSStatus status = SecItemCopyMatching(queryAttributesForService(forService), result);
    if (auto* found = std::get_if<SecKeychainItemRef>(&result))
        item = std::move(*found);
    return status;
}

OSStatus VTTokenStore::deleteItemForService(const std::string& service) {
    SecKeychainItemRef item;
    const OSStatus status = getKeychainItem(item, service);
    if (status == errSecItemNotFound)
        return errSecSuccess;
    // What the deletion itself says is not the caller's concern: the record was found and dealt
    // with.
    if (item)
        SecKeychainItemDelete(*item);
    return status;
}

void VTTokenStore::logStatus(OSStatus status, const std::string& withLeadingMessage) {
    NSLog("%@: %@", {withLeadingMessage, SecCopyErrorMessageString(status)});
}

bool VTTokenStore::clearEphemeralCode() {
    return reportSuccess(deleteItemForService(ephemeralCodeService),
                         "Unable to remove the Ardentra ephemeral code");
}

bool VTTokenStore::clearToken() {
    return reportSuccess(deleteItemForService(tokenService),
                         "Unable to remove the Ardentra registration token");
}

bool VTTokenStore::getEphemeralCode(std::optional<std::string>& code,
                                    std::optional<std::string>& andServer) {
    SecResult result;
    const OSStatus status =
        SecItemCopyMatching(recordQueryForService(ephemeralCodeService), result);
    if (status != errSecSuccess && status != errSecItemNotFound) {
        logStatus(status, "An error occurred while attempting to load the Ardentra ephemeral code");
        return false;
    }
    const auto* record = std::get_if<SecDictionary>(&result);
    if (record == nullptr)
        return false;
    code = textOf(record, kSecValueData);
    andServer = textOf(record, kSecAttrGeneric);
    return true;
}

bool VTTokenStore::getToken(std::optional<Data>& token, std::optional<std::string>& andServer,
                            std::optional<std::string>& andAccount) {
    SecResult result;
    const OSStatus status = SecItemCopyMatching(recordQueryForService(tokenService), result);
    if (status != errSecSuccess && status != errSecItemNotFound) {
        logStatus(status,
                  "An error occurred while attempting to load the Ardentra registration token");
        return false;
    }
    const auto* record = std::get_if<SecDictionary>(&result);
    token = valueOf<Data>(record, kSecValueData);
    andServer = textOf(record, kSecAttrGeneric);
    andAccount = valueOf<std::string>(record, kSecAttrAccount);
    return true;
}

bool VTTokenStore::setEphemeralCode(const std::string& code, const std::string& forServer) {
    const OSStatus status = addOrUpdateKeychainItemForService(
        ephemeralCodeService, encodeUTF8(code), std::nullopt, encodeUTF8(forServer));
    return reportSuccess(status, "Failed to add or update the Ardentra ephemeral code");
}

bool VTTokenStore::setToken(const Data& token, const std::optional<std::string>& forServer,
                            const std::optional<std::string>& andAccount) {
    std::optional<Data> serverBytes;
    if (forServer)
        serverBytes = encodeUTF8(*forServer);
    const OSStatus status =
        addOrUpdateKeychainItemForService(tokenService, token, andAccount, serverBytes);
    return reportSuccess(status, "Failed to add or update the Ardentra registration token");
}
