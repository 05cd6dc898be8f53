#pragma once

// Stands in for the system's header of this name where there is none: of all it declares, what
// Platform/macOS uses, as the system's documentation describes it.

#include <CoreFoundation/CoreFoundation.h>

extern "C" {

[[deprecated]] CFStringRef LSCopyDefaultHandlerForURLScheme(CFStringRef scheme);
[[deprecated]] OSStatus LSSetDefaultHandlerForURLScheme(CFStringRef scheme,
                                                        CFStringRef bundleIdentifier);
}
