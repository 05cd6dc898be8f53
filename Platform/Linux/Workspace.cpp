#include "Command.h"
#include "Platform/Log.h"
#include "Platform/WebPage.h"
#include "PortalRequest.h"

#include <QDBusConnection>
#include <QProcess>

namespace platform {

namespace {

/// Starts xdg-open in a session of its own, with nothing of this process open in it.
bool openWithCommand(const URL& url) {
    QProcess command;
    setUpCommand(command, "xdg-open", {QString::fromStdString(url.absoluteString())});
    command.setStandardOutputFile(QProcess::nullDevice());
    if (!command.program().isEmpty() && command.startDetached())
        return true;
    NSLog("There is no program to open %@ with: xdg-open could not be started.",
          {url.absoluteString()});
    return false;
}

} // namespace

bool openWebPage(const URL& url) {
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return openWithCommand(url);
    PortalRequest::openURI(bus, QString::fromStdString(url.absoluteString()),
                           [url] { openWithCommand(url); });
    return true;
}

} // namespace platform
