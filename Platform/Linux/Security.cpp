#include "Platform/Security.h"

#include "KeychainRecord.h"
#include "SecretService.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <optional>
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

template <typename Value>
const Value* find(const SecDictionary& dictionary, SecKey key) {
    const auto entry = dictionary.find(key);
    return entry == dictionary.end() ? nullptr : std::get_if<Value>(&entry->second);
}

bool asks(const SecDictionary& query, SecKey key) {
    const bool* value = find<bool>(query, key);
    return value != nullptr && *value;
}

template <typename Value>
bool isAbsentOr(const SecDictionary& dictionary, std::initializer_list<SecKey> keys) {
    return std::all_of(keys.begin(), keys.end(), [&](SecKey key) {
        return !dictionary.contains(key) || find<Value>(dictionary, key) != nullptr;
    });
}

bool holdsOnly(const SecDictionary& dictionary, std::initializer_list<SecKey> keys) {
    return std::all_of(dictionary.begin(), dictionary.end(), [&](const auto& entry) {
        return std::find(keys.begin(), keys.end(), entry.first) != keys.end();
    });
}

bool isMatchLimitOneOrAbsent(const SecDictionary& query) {
    const auto* limit = find<std::string>(query, kSecMatchLimit);
    return !query.contains(kSecMatchLimit) || (limit != nullptr && *limit == kSecMatchLimitOne);
}

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

/// What identifies the item, as attributes of the keyring, or absent when the dictionary does not
/// say it.
std::optional<SecretService::Attributes> identity(const SecDictionary& dictionary) {
    const auto* itemClass = find<std::string>(dictionary, kSecClass);
    const auto* service = find<std::string>(dictionary, kSecAttrService);
    const auto* creator = find<std::int32_t>(dictionary, kSecAttrCreator);
    const bool complete = itemClass != nullptr && *itemClass == kSecClassGenericPassword &&
                          service != nullptr && creator != nullptr;
    if (!complete || !isValidUTF8(*service) || service->find('\0') != std::string::npos)
        return std::nullopt;
    return SecretService::Attributes{
        {"class", "generic-password"}, {"service", *service}, {"creator", textOfCode(*creator)}};
}

std::optional<SecretService::Attributes> identityInQuery(const SecDictionary& query) {
    const bool sound =
        holdsOnly(query, {kSecClass, kSecAttrService, kSecAttrCreator, kSecReturnRef,
                          kSecReturnAttributes, kSecReturnData, kSecMatchLimit}) &&
        isAbsentOr<bool>(query, {kSecReturnRef, kSecReturnAttributes, kSecReturnData}) &&
        isMatchLimitOneOrAbsent(query);
    return sound ? identity(query) : std::nullopt;
}

bool isSoundChangeSet(const SecDictionary& set) {
    return isAbsentOr<Data>(set, {kSecValueData, kSecAttrGeneric}) &&
           isAbsentOr<std::string>(set, {kSecAttrAccount});
}

void applyChanges(const SecDictionary& set, KeychainRecord& record) {
    if (const auto* value = find<Data>(set, kSecValueData))
        record.value = *value;
    if (const auto* account = find<std::string>(set, kSecAttrAccount))
        record.account = *account;
    if (const auto* generic = find<Data>(set, kSecAttrGeneric))
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
    const auto attributes = identityInQuery(query);
    const bool asksForRecord = asks(query, kSecReturnAttributes) || asks(query, kSecReturnData);
    if (!attributes || (asksForRecord && asks(query, kSecReturnRef)))
        return errSecParam;
    std::unique_ptr<SecretService> service;
    SecretService::ObjectPath item;
    OSStatus status = connectAndFind(*attributes, service, item);
    SecretRecord record;
    if (status == errSecSuccess && asksForRecord)
        status = readRecord(*service, item, record);
    if (status != errSecSuccess)
        return status;
    if (asksForRecord)
        result = resultOfRecord(query, record);
    else if (asks(query, kSecReturnRef))
        result = std::make_unique<KeyringItem>(std::move(service), std::move(item));
    return errSecSuccess;
}

OSStatus SecItemUpdate(const SecDictionary& query, const SecDictionary& attributesToUpdate) {
    const auto attributes = identityInQuery(query);
    if (!attributes || !isSoundChangeSet(attributesToUpdate) ||
        !holdsOnly(attributesToUpdate, {kSecValueData, kSecAttrAccount, kSecAttrGeneric}))
        return errSecParam;
    std::unique_ptr<SecretService> service;
    SecretService::ObjectPath item;
    OSStatus status = connectAndFind(*attributes, service, item);
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
    const auto itemIdentity = identity(attributes);
    const bool sound =
        holdsOnly(attributes, {kSecClass, kSecAttrService, kSecAttrCreator, kSecValueData,
                               kSecAttrAccount, kSecAttrGeneric, kSecMatchLimit}) &&
        isSoundChangeSet(attributes) && attributes.contains(kSecValueData);
    SecretRecord record;
    applyChanges(attributes, record);
    SecretText secret;
    if (!itemIdentity || !sound || !encode(record, secret))
        return errSecParam;

    std::unique_ptr<SecretService> service;
    OSStatus status = SecretService::connect(service);
    SecretService::Matches matches;
    if (status == errSecSuccess)
        status = service->search(*itemIdentity, matches);
    if (status == errSecSuccess && !(matches.unlocked.empty() && matches.locked.empty()))
        return errSecDuplicateItem;
    SecretService::ObjectPath collection;
    if (status == errSecSuccess)
        status = service->openDefaultCollection(collection);
    if (status != errSecSuccess)
        return status;
    const std::string& label = itemIdentity->at("service");
    return service->createItem(collection, label, *itemIdentity, secret.text);
}

OSStatus SecKeychainItemDelete(const SecKeychainItem& item) {
    const auto* keyringItem = dynamic_cast<const KeyringItem*>(&item);
    return keyringItem != nullptr ? keyringItem->remove() : errSecParam;
}

} // namespace platform
