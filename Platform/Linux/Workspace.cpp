#include "Platform/Linux/Launcher.h"
#include "Platform/Log.h"
#include "Platform/WebPage.h"
#include "PortalRequest.h"
#include "SessionBus.h"

namespace platform {

namespace {

bool openWithCommand(const URL& url) {
    if (startProgram({"xdg-open", url.absoluteString()}))
        return true;
    NSLog("There is no program to open %@ with: xdg-open could not be started.",
          {url.absoluteString()});
    return false;
}

} // namespace

bool openWebPage(const URL& url) {
    const QDBusConnection bus = sessionBus();
    if (!bus.isConnected())
        return openWithCommand(url);
    PortalRequest::openURI(bus, QString::fromStdString(url.absoluteString()),
                           [url] { openWithCommand(url); });
    return true;
}

} // namespace platform
