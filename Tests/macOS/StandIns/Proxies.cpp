#include "Proxies.h"

#include "Objects.h"

#include <CFNetwork/CFNetwork.h>

#include <utility>

struct StandInRunLoopSource : standins::Object {
    StandInRunLoopSource() : Object(standins::Type::Other) {}
    CFProxyAutoConfigurationResultCallback callback = nullptr;
    CFStreamClientContext context{};
    std::string mode;
    int turns = 0;
    bool isValid = true;
};

struct StandInRunLoop : standins::Object {
    StandInRunLoop() : Object(standins::Type::Other) {}
    StandInRunLoopSource* source = nullptr; ///< held while it is valid
};

namespace standins {

ProxySettings& proxySettings() {
    static ProxySettings settings;
    return settings;
}

namespace {

CFTypeRef makeURL(const std::string& text) {
    return make(std::make_unique<StandInURL>(text));
}

void set(CFMutableDictionaryRef dictionary, CFStringRef key, CFTypeRef value) {
    CFDictionarySetValue(dictionary, key, value);
    CFRelease(value);
}

CFTypeRef makeProxy(const Proxy& proxy) {
    StandInDictionary* const dictionary = make(std::make_unique<StandInDictionary>());
    if (proxy.type)
        set(dictionary, kCFProxyTypeKey, makeString("kCFProxyType" + *proxy.type));
    if (proxy.host)
        set(dictionary, kCFProxyHostNameKey, makeString(*proxy.host));
    if (proxy.port)
        set(dictionary, kCFProxyPortNumberKey, make(std::make_unique<StandInNumber>(*proxy.port)));
    if (proxy.user)
        set(dictionary, kCFProxyUsernameKey, makeString(*proxy.user));
    if (proxy.password)
        set(dictionary, kCFProxyPasswordKey, makeString(*proxy.password));
    if (proxy.script)
        set(dictionary, kCFProxyAutoConfigurationURLKey, makeURL(*proxy.script));
    return dictionary;
}

CFArrayRef makeProxies(const std::vector<Proxy>& proxies) {
    auto array = std::make_unique<StandInArray>();
    for (const Proxy& proxy : proxies)
        array->values.push_back(makeProxy(proxy));
    return make(std::move(array));
}

void noteAsked(CFURLRef url) {
    if (const auto* const known = objectOf<StandInURL>(url))
        proxySettings().asked.push_back(known->text);
}

void answer(const StandInRunLoopSource& source) {
    if (!proxySettings().answer) {
        source.callback(source.context.info, nullptr, nullptr);
        return;
    }
    const CFArrayRef proxies = makeProxies(*proxySettings().answer);
    source.callback(source.context.info, proxies, nullptr);
    CFRelease(proxies);
}

} // namespace

} // namespace standins

using namespace standins;

const CFStringRef kCFProxyTypeKey = constantString("kCFProxyTypeKey");
const CFStringRef kCFProxyHostNameKey = constantString("kCFProxyHostNameKey");
const CFStringRef kCFProxyPortNumberKey = constantString("kCFProxyPortNumberKey");
const CFStringRef kCFProxyUsernameKey = constantString("kCFProxyUsernameKey");
const CFStringRef kCFProxyPasswordKey = constantString("kCFProxyPasswordKey");
const CFStringRef kCFProxyAutoConfigurationURLKey =
    constantString("kCFProxyAutoConfigurationURLKey");
const CFStringRef kCFProxyTypeNone = constantString("kCFProxyTypeNone");
const CFStringRef kCFProxyTypeHTTP = constantString("kCFProxyTypeHTTP");
const CFStringRef kCFProxyTypeHTTPS = constantString("kCFProxyTypeHTTPS");
const CFStringRef kCFProxyTypeSOCKS = constantString("kCFProxyTypeSOCKS");
const CFStringRef kCFProxyTypeAutoConfigurationURL =
    constantString("kCFProxyTypeAutoConfigurationURL");

CFDictionaryRef CFNetworkCopySystemProxySettings() {
    return proxySettings().exist ? make(std::make_unique<StandInDictionary>()) : nullptr;
}

CFArrayRef CFNetworkCopyProxiesForURL(CFURLRef url, CFDictionaryRef settings) {
    noteAsked(url);
    if (objectOf<StandInDictionary>(settings) == nullptr)
        complain("proxies were looked for without settings");
    return makeProxies(proxySettings().proxies);
}

CFRunLoopSourceRef
CFNetworkExecuteProxyAutoConfigurationURL(CFURLRef script, CFURLRef target,
                                          CFProxyAutoConfigurationResultCallback callback,
                                          CFStreamClientContext* context) {
    noteAsked(target);
    noteAsked(script);
    if (!proxySettings().canStartScript)
        return nullptr;
    auto source = std::make_unique<StandInRunLoopSource>();
    source->callback = callback;
    source->context = *context;
    return make(std::move(source));
}

CFRunLoopRef CFRunLoopGetCurrent() {
    static StandInRunLoop* const loop = make(std::make_unique<StandInRunLoop>(), true);
    return loop;
}

void CFRunLoopAddSource(CFRunLoopRef loop, CFRunLoopSourceRef source, CFRunLoopMode mode) {
    CFRetain(source);
    loop->source = source;
    source->mode = textOf(mode);
}

CFRunLoopRunResult CFRunLoopRunInMode(CFRunLoopMode mode, CFTimeInterval, Boolean) {
    StandInRunLoopSource* const source = CFRunLoopGetCurrent()->source;
    proxySettings().onTurn();
    if (source == nullptr || source->mode != textOf(mode)) {
        complain("a run loop was run in a mode without a source");
        return kCFRunLoopRunFinished;
    }
    if (++source->turns != proxySettings().turnsUntilAnswer)
        return kCFRunLoopRunTimedOut;
    answer(*source);
    return kCFRunLoopRunHandledSource;
}

void CFRunLoopSourceInvalidate(CFRunLoopSourceRef source) {
    StandInRunLoopSource*& held = CFRunLoopGetCurrent()->source;
    if (std::exchange(held, nullptr) == source)
        CFRelease(source);
    else
        complain("a source was made invalid that is not in the run loop");
}
