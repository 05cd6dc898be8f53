#include "PortalRequest.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <utility>

namespace platform {

namespace {

constexpr const char* portalName = "org.freedesktop.portal.Desktop";
constexpr const char* portalPath = "/org/freedesktop/portal/desktop";

/// The portal's time to take the call; it does not wait for the user.
constexpr int answerLimitInMilliseconds = 10'000;

/// How a request ended, unless it succeeded or the user cancelled it.
constexpr uint endedOtherwise = 2;

QString newToken() {
    static int count = 0;
    return "request" + QString::number(++count);
}

} // namespace

void PortalRequest::openURI(const QDBusConnection& bus, const QString& uri,
                            std::function<void()> whenFailed) {
    auto* const request = new PortalRequest(bus, std::move(whenFailed));
    request->send(uri);
}

PortalRequest::PortalRequest(QDBusConnection bus, std::function<void()> whenFailed)
    : bus_(std::move(bus)), whenFailed_(std::move(whenFailed)) {}

void PortalRequest::send(const QString& uri) {
    const QString token = newToken();
    watch(token);
    QDBusMessage call = QDBusMessage::createMethodCall(portalName, portalPath,
                                                       "org.freedesktop.portal.OpenURI", "OpenURI");
    const QString noParentWindow = "";
    call << noParentWindow << uri << QVariantMap{{"handle_token", token}};

    auto* const watcher =
        new QDBusPendingCallWatcher(bus_.asyncCall(call, answerLimitInMilliseconds), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        if (watcher->isError())
            fail();
    });
}

void PortalRequest::watch(const QString& token) {
    const QString sender = bus_.baseService().mid(1).replace('.', '_');
    const QString path = QString(portalPath) + "/request/" + sender + '/' + token;
    bus_.connect(portalName, path, "org.freedesktop.portal.Request", "Response", this,
                 SLOT(end(uint, QVariantMap)));
}

void PortalRequest::end(uint response, const QVariantMap&) {
    if (response == endedOtherwise)
        fail();
    else
        deleteLater();
}

void PortalRequest::fail() {
    deleteLater();
    if (const auto handler = std::exchange(whenFailed_, nullptr))
        handler();
}

} // namespace platform
