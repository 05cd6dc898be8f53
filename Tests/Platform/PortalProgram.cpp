// A desktop portal for the tests: writes what it is asked to open to the file that is its first
// argument, and answers the first call as the second argument says, the next one as the third, ...:
// it refuses the call ("refuses") or takes it. A request that it has taken goes on ("takes") or
// ends: it "succeeds", "is-cancelled", "fails", or "fails-late", which is after its call has been
// answered.

#include "Platform/Linux/SessionBus.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVirtualObject>
#include <QFile>
#include <optional>
#include <utility>

namespace {

constexpr const char* root = "/org/freedesktop/portal/desktop/request/";

/// How a request ends, or nothing.
std::optional<uint> responseOf(const QString& behaviour) {
    if (behaviour.startsWith("fails"))
        return 2;
    if (behaviour == "is-cancelled")
        return 1;
    return behaviour == "succeeds" ? std::optional(0U) : std::nullopt;
}

class Portal : public QDBusVirtualObject {
public:
    Portal(const QString& file, QStringList behaviours)
        : file_(file), behaviours_(std::move(behaviours)) {}

    QString introspect(const QString&) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        if (message.interface() != "org.freedesktop.portal.OpenURI" ||
            message.member() != "OpenURI" || message.signature() != "ssa{sv}")
            return false;
        if (file_.open(QFile::Append))
            file_.write(message.arguments().at(1).toString().toUtf8() + '\n');
        file_.close();
        const QString behaviour = behaviours_.takeFirst();
        if (behaviour == "refuses")
            connection.send(message.createErrorReply(QDBusError::Failed, "No."));
        else
            take(message, connection, behaviour);
        return true;
    }

private:
    static void take(const QDBusMessage& message, const QDBusConnection& connection,
                     const QString& behaviour) {
        const bool late = behaviour == "fails-late";
        const QString path = pathFor(message);
        const QDBusMessage reply = message.createReply(QVariant::fromValue(QDBusObjectPath(path)));
        if (late)
            connection.send(reply);
        if (const auto response = responseOf(behaviour)) {
            QDBusMessage signal =
                QDBusMessage::createSignal(path, "org.freedesktop.portal.Request", "Response");
            connection.send(signal << *response << QVariantMap());
        }
        if (!late)
            connection.send(reply);
    }

    static QString pathFor(const QDBusMessage& message) {
        const auto options = qdbus_cast<QVariantMap>(message.arguments().at(2));
        return root + message.service().mid(1).replace('.', '_') + '/' +
               options.value("handle_token").toString();
    }

    QFile file_;
    QStringList behaviours_;
};

} // namespace

int main(int argc, char* argv[]) {
    const QCoreApplication application(argc, argv);
    Portal portal(QCoreApplication::arguments().at(1), QCoreApplication::arguments().mid(2));
    QDBusConnection bus = platform::sessionBus();
    bus.registerVirtualObject("/org/freedesktop/portal/desktop", &portal);
    if (!bus.registerService("org.freedesktop.portal.Desktop"))
        return EXIT_FAILURE;
    return QCoreApplication::exec();
}
