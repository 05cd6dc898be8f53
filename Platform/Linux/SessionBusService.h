#pragma once

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QObject>
#include <QStringList>
#include <QVariantMap>
#include <deque>
#include <functional>

namespace platform {

/// The application's place on the session bus (interface org.freedesktop.Application of the Desktop
/// Entry Specification): the name com.norvale.tessor belongs to the one application of a session,
/// and other processes hand it their URLs.
///
/// A call to Open is answered when its URLs are about to be delivered. When the application ends
/// before that, it is passed on to a successor or refused, so that the caller knows whether it
/// still has to take care of them. Everything is on the main thread.
class SessionBusService : public QObject, protected QDBusContext {
    Q_OBJECT

public:
    /// What is to become of this process.
    enum class Outcome {
        Runs,     ///< it is the application; without a session bus too (one line in the log)
        HandedOn, ///< the application runs in another process and has what was meant for it
        Failed    ///< it does, but could not be reached (one line in the log)
    };

    /// What the application does about calls.
    struct Receiver {
        std::function<void(const QVariantMap& platformData)> activate;
        std::function<void(const QString& url)> open;
    };

    SessionBusService();
    ~SessionBusService() override;

    /// Takes the name or, where another process has it, hands the URLs to that process, together
    /// with the platform data; without URLs it only activates it. Waits for 10 seconds at most for
    /// each answer. A process that ends before it has answered is replaced by this one. The URLs of
    /// a process that runs are delivered like those that come in later.
    Outcome start(const QStringList& urls, const QVariantMap& platformData);

    /// Delivers all that has come in and will come in, in its order. URLs that come while the
    /// receiver is still busy with an earlier one wait for that to end; the activation that comes
    /// with them does not wait.
    void deliverTo(Receiver receiver);

    /// Delivers a URL of this process itself, in its turn. False when it is not delivered any more.
    bool deliver(const QString& url);

    /// Gives up the name, and passes on what has not been delivered and what still comes in to the
    /// process that the bus starts in place of this one. Where it starts none, they are refused. A
    /// call to this very process that is not even read any more fails for its caller.
    void stop();

    // Calls from the bus.
    Q_INVOKABLE void Activate(const QVariantMap& platformData);
    Q_INVOKABLE void Open(const QStringList& uris, const QVariantMap& platformData);
    Q_INVOKABLE void ActivateAction(const QString& actionName, const QVariantList& parameter,
                                    const QVariantMap& platformData);

private:
    struct Call {
        QStringList urls;
        QVariantMap platformData;
        QDBusMessage message; ///< to be answered, unless it is invalid
    };

    bool takeName();
    void deliverWaiting();
    void passOn();
    void answer(const Call& call, const QDBusMessage& reply);

    QDBusConnection bus_;
    Receiver receiver_;
    std::deque<Call> calls_;
    bool delivering_ = false;
    bool stopped_ = false;
    bool nameIsReleased_ = false;
};

} // namespace platform
