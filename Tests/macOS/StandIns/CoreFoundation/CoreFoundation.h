#pragma once

// Stands in for the system's header of this name where there is none: of all it declares, what
// Platform/macOS uses, as the system's documentation describes it.

#include <cstdint>

using Boolean = unsigned char;
using UInt8 = std::uint8_t;
using UInt32 = std::uint32_t;
using OSStatus = std::int32_t;
using CFIndex = long;
using CFTypeID = unsigned long;
using CFStringEncoding = UInt32;

using CFTypeRef = const void*;
using CFAllocatorRef = const struct StandInAllocator*;
using CFStringRef = const struct StandInString*;
using CFDataRef = const struct StandInData*;
using CFNumberRef = const struct StandInNumber*;
using CFBooleanRef = const struct StandInBoolean*;
using CFArrayRef = const struct StandInArray*;
using CFDictionaryRef = const struct StandInDictionary*;
using CFMutableDictionaryRef = struct StandInDictionary*;
using CFBundleRef = struct StandInBundle*;
using CFErrorRef = struct StandInError*;
using CFURLRef = const struct StandInURL*;
using CFRunLoopRef = struct StandInRunLoop*;
using CFRunLoopSourceRef = struct StandInRunLoopSource*;
using CFRunLoopMode = CFStringRef;
using CFTimeInterval = double;

struct CFRange {
    CFIndex location;
    CFIndex length;
};

struct CFDictionaryKeyCallBacks {
    CFIndex version;
};
struct CFDictionaryValueCallBacks {
    CFIndex version;
};

struct CFStreamClientContext {
    CFIndex version;
    void* info;
    void* (*retain)(void* info);
    void (*release)(void* info);
    CFStringRef (*copyDescription)(void* info);
};

enum : CFStringEncoding { kCFStringEncodingUTF8 = 0x08000100 };
enum CFNumberType : CFIndex { kCFNumberSInt32Type = 3 };
enum CFRunLoopRunResult : std::int32_t {
    kCFRunLoopRunFinished = 1,
    kCFRunLoopRunTimedOut = 3,
    kCFRunLoopRunHandledSource = 4
};

extern "C" {

extern const CFAllocatorRef kCFAllocatorDefault;
extern const CFBooleanRef kCFBooleanTrue;
extern const CFBooleanRef kCFBooleanFalse;
extern const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks;
extern const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks;

CFTypeRef CFRetain(CFTypeRef object);
void CFRelease(CFTypeRef object);
CFTypeID CFGetTypeID(CFTypeRef object);
Boolean CFEqual(CFTypeRef one, CFTypeRef other);

CFTypeID CFStringGetTypeID();
CFStringRef CFStringCreateWithBytes(CFAllocatorRef allocator, const UInt8* bytes, CFIndex count,
                                    CFStringEncoding encoding, Boolean isExternalRepresentation);
CFIndex CFStringGetLength(CFStringRef string);
CFIndex CFStringGetBytes(CFStringRef string, CFRange range, CFStringEncoding encoding,
                         UInt8 lossByte, Boolean isExternalRepresentation, UInt8* buffer,
                         CFIndex bufferSize, CFIndex* used);

CFTypeID CFDataGetTypeID();
CFDataRef CFDataCreate(CFAllocatorRef allocator, const UInt8* bytes, CFIndex length);
CFIndex CFDataGetLength(CFDataRef data);
const UInt8* CFDataGetBytePtr(CFDataRef data);

CFTypeID CFNumberGetTypeID();
Boolean CFNumberGetValue(CFNumberRef number, CFNumberType type, void* value);
CFNumberRef CFNumberCreate(CFAllocatorRef allocator, CFNumberType type, const void* value);

CFIndex CFArrayGetCount(CFArrayRef array);
const void* CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index);

CFTypeID CFDictionaryGetTypeID();
CFMutableDictionaryRef CFDictionaryCreateMutable(CFAllocatorRef allocator, CFIndex capacity,
                                                 const CFDictionaryKeyCallBacks* keyCallBacks,
                                                 const CFDictionaryValueCallBacks* valueCallBacks);
void CFDictionarySetValue(CFMutableDictionaryRef dictionary, const void* key, const void* value);
const void* CFDictionaryGetValue(CFDictionaryRef dictionary, const void* key);

CFTypeID CFURLGetTypeID();
CFURLRef CFURLCreateWithBytes(CFAllocatorRef allocator, const UInt8* bytes, CFIndex length,
                              CFStringEncoding encoding, CFURLRef base);

CFRunLoopRef CFRunLoopGetCurrent();
void CFRunLoopAddSource(CFRunLoopRef loop, CFRunLoopSourceRef source, CFRunLoopMode mode);
CFRunLoopRunResult CFRunLoopRunInMode(CFRunLoopMode mode, CFTimeInterval seconds,
                                      Boolean returnAfterSourceHandled);
void CFRunLoopSourceInvalidate(CFRunLoopSourceRef source);

CFBundleRef CFBundleGetMainBundle();
CFTypeRef CFBundleGetValueForInfoDictionaryKey(CFBundleRef bundle, CFStringRef key);
CFStringRef CFBundleCopyLocalizedString(CFBundleRef bundle, CFStringRef key, CFStringRef value,
                                        CFStringRef table);
CFArrayRef CFBundleCopyBundleLocalizations(CFBundleRef bundle);
CFArrayRef CFBundleCopyPreferredLocalizationsFromArray(CFArrayRef localizations);
}
