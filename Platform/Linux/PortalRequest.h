#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <QVariantMap>
#include <functional>

namespace platform {

/// One request to the desktop portal (XDG Desktop Portal: org.freedesktop.portal.Request). It owns
/// itself until the portal has said how the request ended. On the main thread.
class PortalRequest : public QObject {
    Q_OBJECT

public:
    /// Asks the portal to open a page and returns at once. The handler is called, at most once,
    /// when there is no portal, when it does not take the call within 10 seconds, and when the
    /// request fails; not when the user has cancelled it.
    static void openURI(const QDBusConnection& bus, const QString& uri,
                        std::function<void()> whenFailed);

private:
    PortalRequest(QDBusConnection bus, std::function<void()> whenFailed);

    void send(const QString& uri);

    /// Listens for the end of the request with that token. To be called before the request is made,
    /// which may end at once.
    void watch(const QString& token);
    void fail();

    Q_SLOT void end(uint response, const QVariantMap& results);

    QDBusConnection bus_;
    std::function<void()> whenFailed_;
};

} // namespace platform
