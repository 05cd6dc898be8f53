#include "AutomaticProxies.h"

#include "Platform/ProxyResolver.h"

#include <CFNetwork/CFNetwork.h>

#include <chrono>

namespace platform {

namespace {

using Clock = std::chrono::steady_clock;

/// How long it takes at most to heed a request to stop.
constexpr CFTimeInterval sliceInSeconds = 0.02;

struct Answer {
    bool came = false;
    Owned<CFArrayRef> proxies;
};

void take(void* client, CFArrayRef proxies, CFErrorRef) {
    auto* const answer = static_cast<Answer*>(client);
    answer->came = true;
    if (proxies != nullptr)
        answer->proxies.reset(static_cast<CFArrayRef>(CFRetain(proxies)));
}

/// The script's run, in the calling thread's run loop for as long as this lives.
class ScriptRun {
public:
    explicit ScriptRun(CFRunLoopSourceRef source) : source_(source) {
        CFRunLoopAddSource(CFRunLoopGetCurrent(), source, mode_.get());
    }
    ScriptRun(const ScriptRun&) = delete;
    ScriptRun& operator=(const ScriptRun&) = delete;

    /// Afterwards no answer comes any more.
    ~ScriptRun() { CFRunLoopSourceInvalidate(source_.get()); }

    void runFor(CFTimeInterval seconds) const {
        constexpr Boolean untilItIsHandled = 1;
        CFRunLoopRunInMode(mode_.get(), seconds, untilItIsHandled);
    }

private:
    Owned<CFRunLoopSourceRef> source_;
    Owned<CFStringRef> mode_ = makeString("com.norvale.tessor.proxies");
};

} // namespace

Owned<CFArrayRef> automaticProxies(CFDictionaryRef setting, CFURLRef target,
                                   const std::stop_token& stop) {
    const CFTypeRef script = CFDictionaryGetValue(setting, kCFProxyAutoConfigurationURLKey);
    if (script == nullptr || CFGetTypeID(script) != CFURLGetTypeID())
        return nullptr;
    Answer answer;
    CFStreamClientContext context{0, &answer, nullptr, nullptr, nullptr};
    auto* const source = CFNetworkExecuteProxyAutoConfigurationURL(static_cast<CFURLRef>(script),
                                                                   target, take, &context);
    if (source == nullptr)
        return nullptr;
    const ScriptRun run(source);
    const auto deadline = Clock::now() + proxyResolverTimeLimit;
    while (!answer.came && !stop.stop_requested() && Clock::now() < deadline)
        run.runFor(sliceInSeconds);
    return std::move(answer.proxies);
}

} // namespace platform
