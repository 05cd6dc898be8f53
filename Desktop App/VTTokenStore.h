#pragma once

#include "Platform/Data.h"
#include "Platform/Security.h"

#include <optional>
#include <string>

/// Keeps the registration record (token, server, account) and the ephemeral-code record (code,
/// server) in the user's keychain, from run to run. All operations are synchronous, belong to the
/// main thread and may wait for the user where the keychain is locked.
///
/// Each failure of the keychain that a record operation acts on is one line in the system log and a
/// false result; nothing is tried again, and the keychain stays as it was. A keychain that was
/// given up because it did not answer may still carry the write out when it wakes.
class VTTokenStore {
public:
    VTTokenStore() = delete;

    // Keychain item primitives, for the record operations below.

    /// The query for the one item of that service name that was made by this program: it asks for a
    /// reference.
    static platform::SecDictionary queryAttributesForService(const std::string& service);

    /// Updates the item, or adds it when there is none. What is absent is not written: on an item
    /// that is there it keeps its value.
    static platform::OSStatus
    addOrUpdateKeychainItemForService(const std::string& service, const platform::Data& withValue,
                                      const std::optional<std::string>& andAccount,
                                      const std::optional<platform::Data>& andGenericAttribute);

    /// Looks the item up. On success the caller owns the reference; otherwise it stays as it was.
    static platform::OSStatus getKeychainItem(platform::SecKeychainItemRef& item,
                                              const std::string& forService);

    /// Deletes the item. Success also when there is none and when the deletion itself fails.
    static platform::OSStatus deleteItemForService(const std::string& service);

    /// Logs the message and the keychain's text for the status.
    static void logStatus(platform::OSStatus status, const std::string& withLeadingMessage);

    // Record operations.

    /// True also when there is no such record.
    static bool clearEphemeralCode();

    /// True also when there is no such record.
    static bool clearToken();

    /// The code and its server; one whose bytes are not UTF-8 is absent, a server that was not
    /// stored is empty. False when there is no such record (not logged) and when the keychain
    /// fails; both arguments are untouched then.
    static bool getEphemeralCode(std::optional<std::string>& code,
                                 std::optional<std::string>& andServer);

    /// The token as it was stored, its server (absent when its bytes are not UTF-8) and account.
    /// True also when there is no such record: then token and account are absent and the server is
    /// empty. False when the keychain fails; the arguments are untouched then.
    static bool getToken(std::optional<platform::Data>& token,
                         std::optional<std::string>& andServer,
                         std::optional<std::string>& andAccount);

    static bool setEphemeralCode(const std::string& code, const std::string& forServer);

    /// An absent server or account keeps what an earlier record holds.
    static bool setToken(const platform::Data& token, const std::optional<std::string>& forServer,
                         const std::optional<std::string>& andAccount);
};
