#include "AutomaticProxies.h"
#include "CoreFoundationObject.h"
#include "Platform/DesktopProxies.h"

#include <CFNetwork/CFNetwork.h>

#include <optional>

namespace platform {

namespace {

CFTypeRef valueOf(CFDictionaryRef proxy, CFStringRef key) {
    return CFDictionaryGetValue(proxy, key);
}

bool isOfType(CFDictionaryRef proxy, CFStringRef type) {
    const CFTypeRef itsType = valueOf(proxy, kCFProxyTypeKey);
    return itsType != nullptr && CFEqual(itsType, type) != 0;
}

std::string percentEncoded(const std::string& text) {
    constexpr const char* digits = "0123456789ABCDEF";
    constexpr const char* plain =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";
    std::string encoded;
    for (const char character : text) {
        if (std::string_view(plain).find(character) != std::string_view::npos) {
            encoded += character;
            continue;
        }
        const auto byte = static_cast<unsigned char>(character);
        encoded.append({'%', digits[byte >> 4U], digits[byte & 0xFU]});
    }
    return encoded;
}

std::string credentialsOf(CFDictionaryRef proxy) {
    const auto user = textOf(valueOf(proxy, kCFProxyUsernameKey));
    const auto password = textOf(valueOf(proxy, kCFProxyPasswordKey));
    if (!user)
        return "";
    return percentEncoded(*user) + (password ? ":" + percentEncoded(*password) : "") + "@";
}

std::string inBracketsIfAddress(const std::string& host) {
    return host.find(':') == std::string::npos ? host : "[" + host + "]";
}

/// What the system calls a proxy for HTTPS is one that is spoken to in HTTP, about HTTPS servers.
std::optional<std::string> schemeOf(CFDictionaryRef proxy) {
    if (isOfType(proxy, kCFProxyTypeHTTP) || isOfType(proxy, kCFProxyTypeHTTPS))
        return "http";
    if (isOfType(proxy, kCFProxyTypeSOCKS))
        return "socks5h";
    return std::nullopt;
}

/// Absent for a kind of proxy that a server cannot be reached by.
std::optional<std::string> textOfProxy(CFDictionaryRef proxy) {
    if (isOfType(proxy, kCFProxyTypeNone))
        return "direct://";
    const auto scheme = schemeOf(proxy);
    const auto host = textOf(valueOf(proxy, kCFProxyHostNameKey));
    const auto port = numberOf(valueOf(proxy, kCFProxyPortNumberKey));
    if (!scheme || !host || !port)
        return std::nullopt;
    return *scheme + "://" + credentialsOf(proxy) + inBracketsIfAddress(*host) + ":" +
           std::to_string(*port);
}

std::vector<CFDictionaryRef> dictionariesOf(CFArrayRef proxies) {
    std::vector<CFDictionaryRef> all;
    const CFIndex count = proxies != nullptr ? CFArrayGetCount(proxies) : 0;
    for (CFIndex index = 0; index < count; ++index)
        all.push_back(static_cast<CFDictionaryRef>(CFArrayGetValueAtIndex(proxies, index)));
    return all;
}

void append(CFArrayRef proxies, std::vector<std::string>& texts) {
    for (const CFDictionaryRef proxy : dictionariesOf(proxies)) {
        if (auto text = textOfProxy(proxy))
            texts.push_back(std::move(*text));
    }
}

Owned<CFURLRef> makeURL(const std::string& text) {
    constexpr CFURLRef noBase = nullptr;
    return Owned<CFURLRef>(
        CFURLCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(text.data()),
                             static_cast<CFIndex>(text.size()), kCFStringEncodingUTF8, noBase));
}

} // namespace

std::vector<std::string> proxiesOfDesktop(const URL& server, const std::stop_token& stop) {
    const Owned<CFURLRef> target = makeURL(server.absoluteString());
    const Owned<CFDictionaryRef> settings(CFNetworkCopySystemProxySettings());
    if (!target || !settings)
        return {};
    const Owned<CFArrayRef> proxies(CFNetworkCopyProxiesForURL(target.get(), settings.get()));
    std::vector<std::string> texts;
    for (const CFDictionaryRef proxy : dictionariesOf(proxies.get())) {
        if (isOfType(proxy, kCFProxyTypeAutoConfigurationURL))
            append(automaticProxies(proxy, target.get(), stop).get(), texts);
        else if (auto text = textOfProxy(proxy))
            texts.push_back(std::move(*text));
    }
    return texts;
}

} // namespace platform
