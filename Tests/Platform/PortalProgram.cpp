// A desktop portal for the tests: writes what it is asked to open to the file that is its first
// argument, and takes or refuses the call as the second says ("takes", "refuses").

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVirtualObject>
#include <QFile>

namespace {

class Portal : public QDBusVirtualObject {
public:
    Portal(const QString& file, bool takes) : file_(file), takes_(takes) {}

    QString introspect(const QString&) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        if (message.interface() != "org.freedesktop.portal.OpenURI" ||
            message.member() != "OpenURI" || message.signature() != "ssa{sv}")
            return false;
        if (file_.open(QFile::Append))
            file_.write(message.arguments().at(1).toString().toUtf8() + '\n');
        file_.close();
        const QDBusObjectPath handle("/org/freedesktop/portal/desktop/request/1");
        connection.send(takes_ ? message.createReply(QVariant::fromValue(handle))
                               : message.createErrorReply(QDBusError::Failed, "No."));
        return true;
    }

private:
    QFile file_;
    bool takes_;
};

} // namespace

int main(int argc, char* argv[]) {
    const QCoreApplication application(argc, argv);
    Portal portal(argv[1], QString(argv[2]) == "takes");
    QDBusConnection bus = QDBusConnection::sessionBus();
    bus.registerVirtualObject("/org/freedesktop/portal/desktop", &portal);
    if (!bus.registerService("org.freedesktop.portal.Desktop"))
        return EXIT_FAILURE;
    return QCoreApplication::exec();
}
