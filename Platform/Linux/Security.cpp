#include "Platform/Security.h"

#include "KeychainRecord.h"
#include "Platform/KeychainQuery.h"
#include "SecretService.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <utility>

namespace platform {

namespace {

/// An item on the connection that found it, so that the reference never means another item of a
/// keyring that was started anew.
class KeyringItem : public SecKeychainItem {
public:
    KeyringItem(std::unique_ptr<SecretService> service, SecretService::ObjectPath path)
        : service_(std::move(service)), path_(std::move(path)) {}

    OSStatus remove() const { return service_->deleteItem(path_); }

private:
    std::unique_ptr<SecretService> service_;
    SecretService::ObjectPath path_;
};

template <typename Bytes>
void wipe(Bytes& bytes) {
    if (!bytes.empty())
        explicit_bzero(bytes.data(), bytes.size());
}

/// A text that is wiped from memory when it is done with.
struct SecretText {
    SecretText() = default;
    ~SecretText() { wipe(text); }
    SecretText(const SecretText&) = delete;
    SecretText& operator=(const SecretText&) = delete;

    std::string text;
};

/// The same for a record.
struct SecretRecord : KeychainRecord {
    SecretRecord() = default;
    ~SecretRecord() { wipe(value); }
    SecretRecord(const SecretRecord&) = delete;
    SecretRecord& operator=(const SecretRecord&) = delete;
};

/// The four characters, or a number where one of them cannot be printed.
std::string textOfCode(std::int32_t code) {
    const auto bits = static_cast<std::uint32_t>(code);
    std::string characters;
    for (const unsigned shift : {24U, 16U, 8U, 0U})
        characters += static_cast<char>((bits >> shift) & 0xFFU);
    const auto isPrintable = [](char character) { return character >= ' ' && character <= '~'; };
    if (std::all_of(characters.begin(), characters.end(), isPrintable))
        return characters;
    std::array<char, sizeof "0x00000000"> number{};
    static_cast<void>(std::snprintf(number.data(), number.size(), "0x%08x", bits));
    return number.data();
}

/// What identifies the item of a sound dictionary, as attributes of the keyring.
SecretService::Attributes identity(const SecDictionary& dictionary) {
    return {{"class", "generic-password"},
            {"service", std::get<std::string>(dictionary.at(kSecAttrService))},
            {"creator", textOfCode(std::get<std::int32_t>(dictionary.at(kSecAttrCreator)))}};
}

void applyChanges(const SecDictionary& set, KeychainRecord& record) {
    if (const auto* value = findValue<Data>(set, kSecValueData))
        record.value = *value;
    if (const auto* account = findValue<std::string>(set, kSecAttrAccount))
        record.account = *account;
    if (const auto* generic = findValue<Data>(set, kSecAttrGeneric))
        record.generic = *generic;
}

/// The first in an order that does not change from call to call, so that of several items every
/// call means the same one.
SecretService::ObjectPath firstOf(const std::vector<SecretService::ObjectPath>& paths) {
    return *std::min_element(paths.begin(), paths.end());
}

OSStatus findItem(SecretService& service, const SecretService::Attributes& attributes,
                  SecretService::ObjectPath& item) {
    SecretService::Matches matches;
    const OSStatus status = service.search(attributes, matches);
    if (status != errSecSuccess)
        return status;
    if (!matches.unlocked.empty()) {
        item = firstOf(matches.unlocked);
        return errSecSuccess;
    }
    if (matches.locked.empty())
        return errSecItemNotFound;
    item = firstOf(matches.locked);
    return service.unlock(item);
}

OSStatus connectAndFind(const SecretService::Attributes& attributes,
                        std::unique_ptr<SecretService>& service, SecretService::ObjectPath& item) {
    const OSStatus status = SecretService::connect(service);
    return status == errSecSuccess ? findItem(*service, attributes, item) : status;
}

OSStatus readRecord(SecretService& service, const SecretService::ObjectPath& item,
                    KeychainRecord& record) {
    SecretText secret;
    const OSStatus status = service.getSecret(item, secret.text);
    if (status != errSecSuccess)
        return status;
    auto decoded = decodeKeychainRecord(secret.text);
    if (!decoded)
        return errSecDecode;
    record = std::move(*decoded);
    return errSecSuccess;
}

SecDictionary resultOfRecord(const SecDictionary& query, KeychainRecord& record) {
    SecDictionary result;
    if (asks(query, kSecReturnData))
        result[kSecValueData] = std::move(record.value);
    if (!asks(query, kSecReturnAttributes))
        return result;
    for (const SecKey key : {kSecClass, kSecAttrService, kSecAttrCreator})
        result[key] = query.at(key);
    if (record.account)
        result[kSecAttrAccount] = std::move(*record.account);
    if (record.generic)
        result[kSecAttrGeneric] = std::move(*record.generic);
    return result;
}

bool encode(const KeychainRecord& record, SecretText& secret) {
    auto text = encodeKeychainRecord(record);
    if (text)
        secret.text = std::move(*text);
    return text.has_value();
}

} // namespace

OSStatus SecItemCopyMatching(const SecDictionary& query, SecResult& result) {
    if (!isSoundQuery(query))
        return errSecParam;
    std::unique_ptr<SecretService> service;
    SecretService::ObjectPath item;
    OSStatus status = connectAndFind(identity(query), service, item);
    SecretRecord record;
    if (status == errSecSuccess && asksForRecord(query))
        status = readRecord(*service, item, record);
    if (status != errSecSuccess)
        return status;
    if (asksForRecord(query))
        result = resultOfRecord(query, record);
    else if (asks(query, kSecReturnRef))
        result = std::make_unique<KeyringItem>(std::move(service), std::move(item));
    return errSecSuccess;
}

OSStatus SecItemUpdate(const SecDictionary& query, const SecDictionary& attributesToUpdate) {
    if (!isSoundQuery(query) || !isSoundChangeSet(attributesToUpdate))
        return errSecParam;
    std::unique_ptr<SecretService> service;
    SecretService::ObjectPath item;
    OSStatus status = connectAndFind(identity(query), service, item);
    SecretRecord record;
    if (status == errSecSuccess)
        status = readRecord(*service, item, record);
    // What cannot be read has nothing to keep: a whole new value mends the item.
    const bool mends = status == errSecDecode && attributesToUpdate.contains(kSecValueData);
    if (status != errSecSuccess && !mends)
        return status;
    applyChanges(attributesToUpdate, record);
    SecretText secret;
    return encode(record, secret) ? service->setSecret(item, secret.text) : errSecParam;
}

OSStatus SecItemAdd(const SecDictionary& attributes) {
    if (!isSoundItem(attributes))
        return errSecParam;
    const auto itemIdentity = identity(attributes);
    SecretRecord record;
    applyChanges(attributes, record);
    SecretText secret;
    if (!encode(record, secret))
        return errSecParam;

    std::unique_ptr<SecretService> service;
    OSStatus status = SecretService::connect(service);
    SecretService::Matches matches;
    if (status == errSecSuccess)
        status = service->search(itemIdentity, matches);
    if (status == errSecSuccess && !(matches.unlocked.empty() && matches.locked.empty()))
        return errSecDuplicateItem;
    SecretService::ObjectPath collection;
    if (status == errSecSuccess)
        status = service->openDefaultCollection(collection);
    if (status != errSecSuccess)
        return status;
    const std::string& label = itemIdentity.at("service");
    return service->createItem(collection, label, itemIdentity, secret.text);
}

OSStatus SecKeychainItemDelete(const SecKeychainItem& item) {
    const auto* keyringItem = dynamic_cast<const KeyringItem*>(&item);
    return keyringItem != nullptr ? keyringItem->remove() : errSecParam;
}

OSStatus SecKeychainGetStatus(SecKeychainStatus& keychainStatus) {
    std::unique_ptr<SecretService> service;
    OSStatus status = SecretService::connect(service);
    bool unlocked = false;
    if (status == errSecSuccess)
        status = service->isDefaultCollectionUnlocked(unlocked);
    if (status == errSecSuccess)
        keychainStatus = unlocked ? kSecUnlockStateStatus : SecKeychainStatus(0);
    return status;
}

OSStatus SecKeychainSetUserInteractionAllowed(bool state) {
    secretServiceMayAskUser = state;
    return errSecSuccess;
}

} // namespace platform
