// The URL that a browser, or whoever pretends to be one, opens the application with.

#include "AppDelegate.h"
#include "Fuzz.h"
#include "Platform/URL.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto url = platform::URL::URLWithString(textOf(data, size));
    const auto code = AppDelegate().codeFromCompletedOAuthRequestURL(url);
    if (!code)
        return 0;
    const auto components = platform::URLComponents::componentsWithURL(*url);
    require(components.host() == "desktop_registration");
    bool isAnItem = false;
    for (const platform::URLQueryItem& item : *components.queryItems())
        isAnItem = isAnItem || (item.name == "code" && item.value == code);
    require(isAnItem);
    return 0;
}
