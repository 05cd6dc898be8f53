// A desktop portal for the tests: writes what it is asked to open to the file that is its first
// argument, and answers as the second argument says: it refuses the call ("refuses") or takes it. A
// request that it has taken goes on ("takes") or ends: it "succeeds", "is-cancelled", "fails", or
// "fails-late", which is after its call has been answered. With "as-named", the first part of the
// host's name says it for each call.

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVirtualObject>
#include <QFile>
#include <QUrl>
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
    Portal(const QString& file, QString behaviour)
        : file_(file), behaviour_(std::move(behaviour)) {}

    QString introspect(const QString&) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        if (message.interface() != "org.freedesktop.portal.OpenURI" ||
            message.member() != "OpenURI" || message.signature() != "ssa{sv}")
            return false;
        const QString url = message.arguments().at(1).toString();
        if (file_.open(QFile::Append))
            file_.write(url.toUtf8() + '\n');
        file_.close();
        const QString behaviour =
            behaviour_ == "as-named" ? QUrl(url).host().section('.', 0, 0) : behaviour_;
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
    QString behaviour_;
};

} // namespace

int main(int argc, char* argv[]) {
    const QCoreApplication application(argc, argv);
    Portal portal(QCoreApplication::arguments().at(1), QCoreApplication::arguments().at(2));
    QDBusConnection bus = QDBusConnection::sessionBus();
    bus.registerVirtualObject("/org/freedesktop/portal/desktop", &portal);
    if (!bus.registerService("org.freedesktop.portal.Desktop"))
        return EXIT_FAILURE;
    return QCoreApplication::exec();
}
