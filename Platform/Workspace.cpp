#include "Platform/Workspace.h"

#include "Platform/Log.h"
#include "Platform/WebPage.h"

#include <QString>

namespace platform {

namespace {

bool isOfTheWeb(const URL& url) {
    const auto scheme = URLComponents::componentsWithURL(url).scheme();
    const QString name = QString::fromStdString(scheme.value_or("")).toLower();
    return name == "http" || name == "https";
}

} // namespace

Workspace& Workspace::sharedWorkspace() {
    static Workspace workspace;
    return workspace;
}

bool Workspace::openURL(const URL& url) {
    if (!isOfTheWeb(url)) {
        NSLog("Only web pages are opened, this is none: %@", {url.absoluteString()});
        return false;
    }
    lastOpenedURL_ = url;
    return openWebPage(url);
}

} // namespace platform
