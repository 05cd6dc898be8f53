#include "Platform/URLSchemeHandler.h"

#include "CoreFoundationObject.h"
#include "Platform/Bundle.h"
#include "Platform/Dispatch.h"

#include <CoreServices/CoreServices.h>

#include <algorithm>
#include <utility>

// Both functions count as deprecated in favour of ones of another language.
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

namespace platform {

namespace {

std::string thisApplication() {
    return Bundle::mainBundle().infoDictionaryValue("CFBundleIdentifier").value_or("");
}

/// Whether these are the same identifier: their case does not count.
bool isSameIdentifier(const std::string& one, const std::string& other) {
    const auto lowered = [](char character) {
        return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a')
                                                    : character;
    };
    return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                      [&](char left, char right) { return lowered(left) == lowered(right); });
}

URLSchemeHandler handlerFor(const std::string& scheme) {
    const Owned<CFStringRef> name = makeString(scheme);
    if (!name)
        return URLSchemeHandler::Unknown;
    const Owned<CFStringRef> identifier(LSCopyDefaultHandlerForURLScheme(name.get()));
    const auto handler = textOf(identifier.get());
    if (!handler)
        return URLSchemeHandler::NoApplication;
    return isSameIdentifier(*handler, thisApplication()) ? URLSchemeHandler::ThisApplication
                                                         : URLSchemeHandler::AnotherApplication;
}

URLSchemeHandler handlerForAll(const std::vector<std::string>& schemes) {
    std::vector<URLSchemeHandler> handlers;
    handlers.reserve(schemes.size());
    for (const std::string& scheme : schemes)
        handlers.push_back(handlerFor(scheme));
    for (const URLSchemeHandler decisive :
         {URLSchemeHandler::Unknown, URLSchemeHandler::AnotherApplication,
          URLSchemeHandler::NoApplication}) {
        if (std::find(handlers.begin(), handlers.end(), decisive) != handlers.end())
            return decisive;
    }
    return URLSchemeHandler::ThisApplication;
}

void setHandler(const std::vector<std::string>& schemes) {
    const Owned<CFStringRef> application = makeString(thisApplication());
    for (const std::string& scheme : schemes) {
        const Owned<CFStringRef> name = makeString(scheme);
        // What came of it is asked for afterwards.
        if (name)
            LSSetDefaultHandlerForURLScheme(name.get(), application.get());
    }
}

} // namespace

void getHandlerForURLSchemes(const std::vector<std::string>& schemes,
                             URLSchemeHandlerAnswer completionHandler) {
    dispatchToBackground(
        [schemes, completionHandler = std::move(completionHandler)](const std::stop_token&) {
            dispatchToMain([handler = handlerForAll(schemes), completionHandler] {
                completionHandler(handler);
            });
        });
}

void setThisApplicationAsHandlerForURLSchemes(const std::vector<std::string>& schemes,
                                              const URLSchemeHandlerAnswer& completionHandler) {
    dispatchToBackground([schemes, completionHandler](const std::stop_token&) {
        setHandler(schemes);
        dispatchToMain(
            [handler = handlerForAll(schemes), completionHandler] { completionHandler(handler); });
    });
}

} // namespace platform
