#pragma once

// Stands in for the system's header of this name where there is none: of all it declares, what
// Platform/macOS uses, as the system's documentation describes it.

#include <CoreFoundation/CoreFoundation.h>

using SecKeychainRef = struct StandInKeychain*;
using SecKeychainItemRef = struct StandInKeychainItem*;
using SecKeychainStatus = UInt32;

enum : OSStatus {
    errSecSuccess = 0,
    errSecParam = -50,
    errSecDuplicateItem = -25299,
    errSecItemNotFound = -25300,
    errSecInvalidItemRef = -25304,
    errSecNoDefaultKeychain = -25307,
    errSecInteractionNotAllowed = -25308
};

enum : SecKeychainStatus {
    kSecUnlockStateStatus = 1,
    kSecReadPermStatus = 2,
    kSecWritePermStatus = 4
};

extern "C" {

extern const CFStringRef kSecClass;
extern const CFStringRef kSecClassGenericPassword;
extern const CFStringRef kSecAttrService;
extern const CFStringRef kSecAttrCreator;
extern const CFStringRef kSecAttrAccount;
extern const CFStringRef kSecAttrGeneric;
extern const CFStringRef kSecValueData;
extern const CFStringRef kSecReturnRef;
extern const CFStringRef kSecReturnAttributes;
extern const CFStringRef kSecReturnData;
extern const CFStringRef kSecMatchLimit;
extern const CFStringRef kSecMatchLimitOne;

OSStatus SecItemCopyMatching(CFDictionaryRef query, CFTypeRef* result);
OSStatus SecItemAdd(CFDictionaryRef attributes, CFTypeRef* result);
OSStatus SecItemUpdate(CFDictionaryRef query, CFDictionaryRef attributesToUpdate);
CFStringRef SecCopyErrorMessageString(OSStatus status, void* reserved);

[[deprecated]] OSStatus SecKeychainItemDelete(SecKeychainItemRef item);
[[deprecated]] OSStatus SecKeychainGetStatus(SecKeychainRef keychain, SecKeychainStatus* status);
[[deprecated]] OSStatus SecKeychainSetUserInteractionAllowed(Boolean state);
}
