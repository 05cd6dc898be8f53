#include "LaunchServices.h"

#include "Objects.h"

#include <CoreServices/CoreServices.h>

namespace standins {

SchemeHandlers& schemeHandlers() {
    static SchemeHandlers handlers;
    return handlers;
}

} // namespace standins

using namespace standins;

CFStringRef LSCopyDefaultHandlerForURLScheme(CFStringRef scheme) {
    const auto& handlers = schemeHandlers().identifiers;
    const auto handler = handlers.find(textOf(scheme));
    return handler == handlers.end() ? nullptr : makeString(handler->second);
}

OSStatus LSSetDefaultHandlerForURLScheme(CFStringRef scheme, CFStringRef bundleIdentifier) {
    constexpr OSStatus notPermitted = -54;
    if (!schemeHandlers().canBeChanged)
        return notPermitted;
    schemeHandlers().identifiers[textOf(scheme)] = textOf(bundleIdentifier);
    return 0;
}
