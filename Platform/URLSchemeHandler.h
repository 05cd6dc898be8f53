#pragma once

#include <functional>
#include <string>
#include <vector>

namespace platform {

/// Which application the desktop opens URLs of some schemes with.
enum class URLSchemeHandler {
    ThisApplication,    ///< for all of the schemes
    AnotherApplication, ///< for one of them at least
    NoApplication,      ///< for one of them at least, and no other application for any
    Unknown             ///< the desktop does not say
};

using URLSchemeHandlerAnswer = std::function<void(URLSchemeHandler handler)>;

// Both return at once, and call the completion handler once, on the main thread, when the desktop
// has answered; a desktop that does not answer any one question for 10 seconds counts as one that
// does not say. When the application ends before that, the handler is never called. To be called on
// the main thread.

/// Asks the desktop (xdg-mime).
void getHandlerForURLSchemes(const std::vector<std::string>& schemes,
                             URLSchemeHandlerAnswer completionHandler);

/// Asks the desktop to open all URLs of these schemes with this application, in the future of this
/// user, and then asks which application it does open them with: this one, if it could be set.
void setThisApplicationAsHandlerForURLSchemes(const std::vector<std::string>& schemes,
                                              const URLSchemeHandlerAnswer& completionHandler);

} // namespace platform
