#pragma once

#include <QDBusConnection>

namespace platform {

/// The application's connection to the session bus; not connected, with an error, where there is
/// none. On the main thread only, when there is an application object.
///
/// It delivers from the beginning, and so in the order in which messages come. Qt's default
/// connection holds back what comes before the event loop runs, and then lets some overtake others.
inline QDBusConnection sessionBus() {
    return QDBusConnection::connectToBus(QDBusConnection::SessionBus, "application");
}

} // namespace platform
