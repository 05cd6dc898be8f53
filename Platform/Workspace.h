#pragma once

#include "URL.h"

#include <optional>

namespace platform {

/// The user's desktop.
class Workspace {
public:
    static Workspace& sharedWorkspace();

    /// Opens a web page in the user's default browser and returns at once, without waiting for the
    /// browser: by the desktop portal where the session has one, otherwise, and when the portal
    /// fails for another reason than that the user did not want the page, by xdg-open. False, with
    /// a line in the log, when the URL is not of the scheme http or https (no service may make this
    /// computer open anything else), or when there is no way to open it. True once the portal was
    /// asked; should xdg-open be needed after all and be missing, that is only a line in the log.
    /// On the main thread only.
    bool openURL(const URL& url);

    /// The web page that it was last asked to open, whatever became of that; absent before the
    /// first one. On the main thread only.
    const std::optional<URL>& lastOpenedURL() const { return lastOpenedURL_; }

private:
    std::optional<URL> lastOpenedURL_;
};

} // namespace platform
