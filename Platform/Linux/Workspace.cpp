#include "Platform/Workspace.h"

#include "Platform/Log.h"

#include <linux/close_range.h>
#include <unistd.h>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QProcess>
#include <QStandardPaths>

namespace platform {

namespace {

/// The desktop portal's time to take the call; it does not wait for the user.
constexpr int portalLimitInMilliseconds = 10'000;

bool isOfTheWeb(const URL& url) {
    const auto scheme = URLComponents::componentsWithURL(url).scheme();
    const QString name = QString::fromStdString(scheme.value_or("")).toLower();
    return name == "http" || name == "https";
}

/// Starts xdg-open in a session of its own, with nothing of this process open in it.
bool openWithCommand(const URL& url) {
    QProcess command;
    command.setProgram(QStandardPaths::findExecutable("xdg-open"));
    command.setArguments({QString::fromStdString(url.absoluteString())});
    command.setStandardInputFile(QProcess::nullDevice());
    command.setStandardOutputFile(QProcess::nullDevice());
    command.setStandardErrorFile(QProcess::nullDevice());
    // What this process itself was started with, or a library opened carelessly, ends here too.
    close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC);
    if (!command.program().isEmpty() && command.startDetached())
        return true;
    NSLog("There is no program to open %@ with: xdg-open could not be started.",
          {url.absoluteString()});
    return false;
}

/// Asks the desktop portal (org.freedesktop.portal.OpenURI), and falls back to the command where
/// there is none or it refuses.
void openWithPortal(const QDBusConnection& bus, const URL& url) {
    QDBusMessage call = QDBusMessage::createMethodCall("org.freedesktop.portal.Desktop",
                                                       "/org/freedesktop/portal/desktop",
                                                       "org.freedesktop.portal.OpenURI", "OpenURI");
    const QString noParentWindow = "";
    call << noParentWindow << QString::fromStdString(url.absoluteString()) << QVariantMap();

    auto* const watcher =
        new QDBusPendingCallWatcher(bus.asyncCall(call, portalLimitInMilliseconds));
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [watcher, url] {
        watcher->deleteLater();
        if (watcher->isError())
            openWithCommand(url);
    });
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
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return openWithCommand(url);
    openWithPortal(bus, url);
    return true;
}

} // namespace platform
