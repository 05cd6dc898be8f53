#include "SessionBusService.h"

#include "ApplicationAdaptor.h"
#include "Platform/Log.h"
#include "SessionBus.h"

#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <QDBusError>
#include <QDBusReply>
#include <utility>

namespace platform {

namespace {

constexpr const char* serviceName = "com.norvale.tessor";
constexpr const char* objectPath = "/com/norvale/tessor";
constexpr const char* interfaceName = "org.freedesktop.Application";
constexpr const char* endingError = "com.norvale.tessor.Error.Ending";

constexpr const char* endingMessage = "The application is ending.";

constexpr int answerLimitInMilliseconds = 10'000;
constexpr int endingLimitInMilliseconds = 500;

/// Each try but the first needs an application that ends just then.
constexpr int mostTries = 10;

enum class Attempt { Succeeded, OwnerIsEnding, Failed };

void logFailure(const QDBusError& error) {
    NSLog("The application that is running already could not be reached: %@",
          {error.message().toStdString()});
}

QDBusMessage openOrActivate(const QString& owner, const QStringList& urls,
                            const QVariantMap& platformData) {
    QDBusMessage call = QDBusMessage::createMethodCall(owner, objectPath, interfaceName,
                                                       urls.isEmpty() ? "Activate" : "Open");
    if (!urls.isEmpty())
        call << urls;
    return call << platformData;
}

/// True when the bus itself answers the call.
bool callBus(const QDBusConnection& bus, const QString& method, const QVariantList& arguments) {
    QDBusMessage call = QDBusMessage::createMethodCall(
        "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", method);
    call.setArguments(arguments);
    return bus.call(call, QDBus::Block, endingLimitInMilliseconds).type() ==
           QDBusMessage::ReplyMessage;
}

/// Calls the process that has the name. The call goes to that very process and not to the name, so
/// that it is known afterwards whether it is this process that has failed.
Attempt handOn(const QDBusConnection& bus, const QStringList& urls,
               const QVariantMap& platformData) {
    const QString owner = bus.interface()->serviceOwner(serviceName);
    if (owner.isEmpty())
        return Attempt::OwnerIsEnding;
    const QDBusError error = bus.call(openOrActivate(owner, urls, platformData), QDBus::Block,
                                      answerLimitInMilliseconds);
    if (!error.isValid())
        return Attempt::Succeeded;
    if (error.name() == endingError || bus.interface()->serviceOwner(serviceName) != owner)
        return Attempt::OwnerIsEnding;
    logFailure(error);
    return Attempt::Failed;
}

} // namespace

SessionBusService::SessionBusService() : bus_(sessionBus()) {
    new ApplicationAdaptor(this);
}

SessionBusService::~SessionBusService() = default;

SessionBusService::Outcome SessionBusService::start(const QStringList& urls,
                                                    const QVariantMap& platformData) {
    // The object is there before the name is, so that nobody can find one without the other.
    bus_.registerObject(objectPath, this);
    for (int tries = 0; tries < mostTries; ++tries) {
        if (takeName()) {
            if (!urls.isEmpty())
                calls_.push_back({urls, {}, {}});
            return Outcome::Runs;
        }
        const Attempt attempt = handOn(bus_, urls, platformData);
        if (attempt != Attempt::OwnerIsEnding)
            return attempt == Attempt::Succeeded ? Outcome::HandedOn : Outcome::Failed;
    }
    logFailure(QDBusError(QDBusError::NoReply, "It was replaced again and again."));
    return Outcome::Failed;
}

/// True as well when there is no bus to have a name on: then this process is the only one.
bool SessionBusService::takeName() {
    if (!bus_.isConnected()) {
        NSLog("Without a session bus the application runs for itself: %@",
              {bus_.lastError().message().toStdString()});
        return true;
    }
    const auto reply =
        bus_.interface()->registerService(serviceName, QDBusConnectionInterface::DontQueueService,
                                          QDBusConnectionInterface::DontAllowReplacement);
    if (reply.isValid())
        return reply.value() == QDBusConnectionInterface::ServiceRegistered;
    NSLog("Without its name on the session bus the application runs for itself: %@",
          {reply.error().message().toStdString()});
    return true;
}

void SessionBusService::deliverTo(Receiver receiver) {
    receiver_ = std::move(receiver);
    deliverWaiting();
}

bool SessionBusService::deliver(const QString& url) {
    if (stopped_)
        return false;
    calls_.push_back({QStringList(url), {}, {}});
    deliverWaiting();
    return true;
}

void SessionBusService::deliverWaiting() {
    if (!receiver_.open || delivering_)
        return;
    delivering_ = true;
    while (!calls_.empty()) {
        const Call call = std::move(calls_.front());
        calls_.pop_front();
        answer(call, call.message.createReply());
        receiver_.activate(call.platformData);
        for (const QString& url : call.urls) {
            if (!stopped_)
                receiver_.open(url);
        }
    }
    delivering_ = false;
}

void SessionBusService::stop() {
    if (std::exchange(stopped_, true))
        return;
    if (!bus_.isConnected())
        return;
    // From its answer on, a call to the name is for whoever comes next; the others are here.
    nameIsReleased_ = callBus(bus_, "ReleaseName", {serviceName});
    passOn();
    QCoreApplication::sendPostedEvents(this);
    // Waiting for this answer makes sure that those above are on their way too.
    callBus(bus_, "GetId", {});
}

void SessionBusService::passOn() {
    for (const Call& call : std::exchange(calls_, {})) {
        if (call.message.type() != QDBusMessage::MethodCallMessage)
            continue;
        const bool isPassedOn =
            nameIsReleased_ && bus_.call(openOrActivate(serviceName, call.urls, call.platformData),
                                         QDBus::Block, answerLimitInMilliseconds)
                                       .type() == QDBusMessage::ReplyMessage;
        answer(call, isPassedOn ? call.message.createReply()
                                : call.message.createErrorReply(endingError, endingMessage));
    }
}

void SessionBusService::answer(const Call& call, const QDBusMessage& reply) {
    if (call.message.type() == QDBusMessage::MethodCallMessage)
        bus_.send(reply);
}

void SessionBusService::Activate(const QVariantMap& platformData) {
    if (stopped_)
        Open({}, platformData);
    else if (receiver_.activate)
        receiver_.activate(platformData);
    else // Launching, still to come, shows the window; the right to be in front is for then.
        calls_.push_front({{}, platformData, {}});
}

void SessionBusService::Open(const QStringList& uris, const QVariantMap& platformData) {
    setDelayedReply(true);
    calls_.push_back({uris, platformData, message()});
    if (stopped_)
        passOn();
    else if (delivering_)
        receiver_.activate(platformData);
    else
        deliverWaiting();
}

void SessionBusService::ActivateAction(const QString& actionName, const QVariantList&,
                                       const QVariantMap&) {
    sendErrorReply(QDBusError::InvalidArgs, "There is no action named " + actionName);
}

} // namespace platform
