#pragma once

// Stands in for the system's header of this name where there is none: of all it declares, what
// Platform/macOS uses, as the system's documentation describes it.

#include <CoreFoundation/CoreFoundation.h>

using CFProxyAutoConfigurationResultCallback = void (*)(void* client, CFArrayRef proxies,
                                                        CFErrorRef error);

extern "C" {

extern const CFStringRef kCFProxyTypeKey;
extern const CFStringRef kCFProxyHostNameKey;
extern const CFStringRef kCFProxyPortNumberKey;
extern const CFStringRef kCFProxyUsernameKey;
extern const CFStringRef kCFProxyPasswordKey;
extern const CFStringRef kCFProxyAutoConfigurationURLKey;
extern const CFStringRef kCFProxyTypeNone;
extern const CFStringRef kCFProxyTypeHTTP;
extern const CFStringRef kCFProxyTypeHTTPS;
extern const CFStringRef kCFProxyTypeSOCKS;
extern const CFStringRef kCFProxyTypeAutoConfigurationURL;

CFDictionaryRef CFNetworkCopySystemProxySettings();
CFArrayRef CFNetworkCopyProxiesForURL(CFURLRef url, CFDictionaryRef settings);
CFRunLoopSourceRef
CFNetworkExecuteProxyAutoConfigurationURL(CFURLRef script, CFURLRef target,
                                          CFProxyAutoConfigurationResultCallback callback,
                                          CFStreamClientContext* context);
}
