#pragma once

#include "Data.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <variant>

/// The user's keychain: generic-password items, private to the user, kept from run to run.
///
/// All calls are synchronous and belong to the main thread. A call that has to ask the user (a
/// locked keychain) waits for the user, unless that is switched off; every other call is bounded: a
/// keychain that gives no sign of life for 10 seconds yields a status. A record is always whole:
/// whoever reads, at any moment and also when a writing process is killed, finds the old item or
/// the new one.
namespace platform {

/// 0 for success. errSecItemNotFound means that no item matches; every other value is a failure.
using OSStatus = std::int32_t;

inline constexpr OSStatus errSecSuccess = 0;
inline constexpr OSStatus errSecParam = -50;            ///< the query or set makes no sense
inline constexpr OSStatus errSecUserCanceled = -128;    ///< the user dismissed the prompt
inline constexpr OSStatus errSecNotAvailable = -25291;  ///< no session bus to reach a keychain
inline constexpr OSStatus errSecDuplicateItem = -25299; ///< an item like this is there already
inline constexpr OSStatus errSecItemNotFound = -25300;  ///< no item matches
inline constexpr OSStatus errSecDecode = -26275;        ///< the item holds no readable record
inline constexpr OSStatus errSecServiceNotAvailable = -67585;   ///< no keychain service is running
inline constexpr OSStatus errSecInteractionNotAllowed = -25308; ///< the item is locked
inline constexpr OSStatus errSecIO = -36;                  ///< the keychain went away in the middle
inline constexpr OSStatus errSecInternalComponent = -2070; ///< any other error of the keychain

/// Other failures of the system are this base plus the errno value; so is an answer that does not
/// come in time (ETIMEDOUT).
inline constexpr OSStatus kPOSIXErrorBase = 100000;

/// The keys of a query, a change set and a result.
enum class SecKey {
    kSecClass,            ///< text; always kSecClassGenericPassword here
    kSecAttrService,      ///< text; part of an item's identity
    kSecAttrCreator,      ///< integer, a four-character code; part of an item's identity
    kSecAttrAccount,      ///< text
    kSecAttrGeneric,      ///< bytes
    kSecValueData,        ///< bytes, the secret
    kSecReturnRef,        ///< boolean; ask for a reference
    kSecReturnAttributes, ///< boolean; ask for the attributes
    kSecReturnData,       ///< boolean; ask for the secret
    kSecMatchLimit,       ///< text; always kSecMatchLimitOne here
};
using enum SecKey;

inline constexpr const char* kSecClassGenericPassword = "genp";
inline constexpr const char* kSecMatchLimitOne = "m_LimitOne";

using SecValue = std::variant<bool, std::int32_t, std::string, Data>;
using SecDictionary = std::map<SecKey, SecValue>;

/// One item of the keychain. Opaque.
class SecKeychainItem {
public:
    virtual ~SecKeychainItem() = default;
};

/// A reference to an item, owned by whoever holds it and released by its destruction.
using SecKeychainItemRef = std::unique_ptr<SecKeychainItem>;

/// What a search hands back: nothing, a reference, or a dictionary of attributes and secret.
using SecResult = std::variant<std::monostate, SecKeychainItemRef, SecDictionary>;

/// Finds the item that matches class, service and creator. With kSecReturnRef the result is a
/// reference; with kSecReturnAttributes and kSecReturnData it is one dictionary with the attributes
/// that the item has and the secret. When nothing matches: errSecItemNotFound. On every status but
/// success the result is left as it was. Where several items match, an unlocked one is preferred.
OSStatus SecItemCopyMatching(const SecDictionary& query, SecResult& result);

/// On the item that the query finds, replaces exactly what the change set holds (kSecValueData,
/// kSecAttrAccount, kSecAttrGeneric) in one step; the rest keeps its value. kSecReturnRef and
/// kSecMatchLimit in the query are accepted. errSecItemNotFound when nothing matches. An item that
/// holds no readable record becomes one when the set has a kSecValueData; otherwise errSecDecode.
OSStatus SecItemUpdate(const SecDictionary& query, const SecDictionary& attributesToUpdate);

/// Creates an item in the user's default keychain, making that keychain first where the user has
/// none. A kSecMatchLimit in the set is accepted and ignored. errSecDuplicateItem when an item of
/// the same class, service and creator is there.
OSStatus SecItemAdd(const SecDictionary& attributes);

/// Deletes the item. errSecItemNotFound when it is gone already.
OSStatus SecKeychainItemDelete(const SecKeychainItem& item);

/// How a keychain stands: bits.
using SecKeychainStatus = std::uint32_t;
inline constexpr SecKeychainStatus kSecUnlockStateStatus = 1; ///< it is unlocked

/// How the user's default keychain stands; no bit is set where the user has none. Asks nobody and
/// starts nothing: a keychain service that is not running is errSecServiceNotAvailable. On every
/// status but success the result is left as it was.
OSStatus SecKeychainGetStatus(SecKeychainStatus& keychainStatus);

/// Whether from now on calls may ask the user, as they may at first. A call that would have to and
/// may not yields errSecInteractionNotAllowed. Always errSecSuccess.
OSStatus SecKeychainSetUserInteractionAllowed(bool state);

/// A readable text for a status, in English, for the log.
std::string SecCopyErrorMessageString(OSStatus status);

} // namespace platform
