#include "SecretService.h"

#include "PendingCall.h"
#include "PromptWatch.h"
#include "SecretMessages.h"

#include <cerrno>
#include <cstdint>
#include <utility>

namespace platform {

namespace {

constexpr const char* serviceName = "org.freedesktop.secrets";
constexpr const char* servicePath = "/org/freedesktop/secrets";
constexpr const char* serviceInterface = "org.freedesktop.Secret.Service";
constexpr const char* collectionInterface = "org.freedesktop.Secret.Collection";
constexpr const char* itemInterface = "org.freedesktop.Secret.Item";
constexpr const char* propertiesInterface = "org.freedesktop.DBus.Properties";
constexpr const char* promptInterface = "org.freedesktop.Secret.Prompt";
constexpr const char* noObject = "/";

OSStatus statusOfConnecting(int result) {
    switch (-result) {
    case ENOMEDIUM:
    case ENOENT:
    case ENOTDIR:
    case ECONNREFUSED:
    case ECONNRESET:
    case ENOTCONN:
    case EPIPE:
    case EACCES:
    case EPERM:
        return errSecNotAvailable;
    default:
        return statusOfResult(result);
    }
}

} // namespace

void SecretService::CloseBus::operator()(sd_bus* bus) const {
    // Without a flush: every call has been answered, and a bus that hangs must not hold us up.
    sd_bus_close_unref(bus);
}

OSStatus SecretService::connect(std::unique_ptr<SecretService>& service) {
    sd_bus* opened = nullptr;
    const int result = sd_bus_open_user(&opened);
    Bus bus(opened);
    const OSStatus status = result < 0 ? statusOfConnecting(result) : waitUntilReady(bus.get());
    if (status != errSecSuccess)
        return status;
    service.reset(new SecretService(std::move(bus)));
    return errSecSuccess;
}

OSStatus SecretService::waitUntilReady(sd_bus* bus) {
    using std::chrono::steady_clock;
    const auto deadline = steady_clock::now() + secretServiceTimeLimit;
    int ready = 0;
    while ((ready = sd_bus_is_ready(bus)) == 0) {
        const std::chrono::microseconds left =
            std::chrono::duration_cast<std::chrono::microseconds>(deadline - steady_clock::now());
        if (left.count() <= 0)
            return kPOSIXErrorBase + ETIMEDOUT;
        const int result = processOrWait(bus, static_cast<std::uint64_t>(left.count()));
        if (result < 0)
            return statusOfConnecting(result);
    }
    return ready < 0 ? statusOfConnecting(ready) : errSecSuccess;
}

Call SecretService::newCall(const Method& method) {
    return {bus_.get(), owner_.empty() ? serviceName : owner_, method};
}

Reply SecretService::send(const Call& call) {
    if (call.status() != errSecSuccess)
        return Reply(call.status());
    PendingCall pending(bus_.get(), call.message());
    int result = waitFor(pending);
    // A keyring may fail to recognise a new client while another one leaves, and then denies the
    // method without having run it. At the second call it knows the client.
    if (owner_.empty() && result > 0 && meansNoSuchMethod(pending.error())) {
        pending.sendAgain();
        result = waitFor(pending);
    }
    if (result <= 0)
        return Reply(statusOfResult(result == 0 ? -ETIMEDOUT : result));
    if (const sd_bus_error* error = pending.error()) {
        if (meansNoService(*error))
            return Reply(owner_.empty() ? errSecServiceNotAvailable : errSecIO);
        return Reply::failure(call, *error);
    }
    Message answer = pending.takeAnswer();
    // From now on only this very process counts: one that takes its place knows nothing of our
    // session and may mean something else by the same object path.
    owner_ = sd_bus_message_get_sender(answer.get());
    return Reply(std::move(answer));
}

int SecretService::waitFor(PendingCall& pending) {
    if (!secretServiceMayAskUser)
        return pending.wait(secretServiceTimeLimit);
    // Half of the time for the answer, half for a sign of life.
    int result = pending.wait(secretServiceTimeLimit / 2);
    while (result == 0 && isAskingUser())
        result = pending.wait(secretServiceTimeLimit / 2);
    return result != 0 ? result : pending.wait({});
}

bool SecretService::isAskingUser() {
    // Some keyrings have a database unlocked before they answer a search. Whoever answers another
    // call meanwhile does not hang.
    Call probe = newCall({servicePath, propertiesInterface, "Get"});
    probe.text(serviceInterface).text("Collections");
    if (probe.status() != errSecSuccess)
        return false;
    PendingCall pending(bus_.get(), probe.message());
    return pending.wait(secretServiceTimeLimit / 2) > 0 && pending.error() == nullptr;
}

OSStatus SecretService::search(const Attributes& attributes, Matches& matches) {
    Call call = newCall({servicePath, serviceInterface, "SearchItems"});
    call.attributes(attributes);
    return send(call).paths(matches.unlocked).paths(matches.locked).status();
}

OSStatus SecretService::unlock(const ObjectPath& object) {
    Call call = newCall({servicePath, serviceInterface, "Unlock"});
    call.open(SD_BUS_TYPE_ARRAY, "o").path(object).close();
    ObjectPath prompt;
    ObjectPath ignored;
    const OSStatus status = send(call).skip("ao").path(prompt).status();
    return status == errSecSuccess ? askUser(prompt, ignored) : status;
}

OSStatus SecretService::openSession() {
    if (!session_.empty())
        return errSecSuccess;
    Call call = newCall({servicePath, serviceInterface, "OpenSession"});
    call.text("plain").open(SD_BUS_TYPE_VARIANT, "s").text("").close();
    return send(call).skip("v").path(session_).status();
}

OSStatus SecretService::getSecret(const ObjectPath& item, std::string& secret) {
    if (const OSStatus status = openSession(); status != errSecSuccess)
        return status;
    Call call = newCall({item.c_str(), itemInterface, "GetSecret"});
    call.sensitive().path(session_);
    return send(call).secret(secret).status();
}

OSStatus SecretService::setSecret(const ObjectPath& item, const std::string& secret) {
    if (const OSStatus status = openSession(); status != errSecSuccess)
        return status;
    Call call = newCall({item.c_str(), itemInterface, "SetSecret"});
    call.secret(session_, secret);
    return send(call).status();
}

OSStatus SecretService::deleteItem(const ObjectPath& item) {
    const Call call = newCall({item.c_str(), itemInterface, "Delete"});
    ObjectPath prompt;
    ObjectPath ignored;
    const OSStatus status = send(call).path(prompt).status();
    return status == errSecSuccess ? askUser(prompt, ignored) : status;
}

OSStatus SecretService::openDefaultCollection(ObjectPath& collection) {
    Call call = newCall({servicePath, serviceInterface, "ReadAlias"});
    call.text("default");
    OSStatus status = send(call).path(collection).status();
    if (status == errSecSuccess && collection == noObject)
        status = createDefaultCollection(collection);
    return status == errSecSuccess ? unlock(collection) : status;
}

OSStatus SecretService::isDefaultCollectionUnlocked(bool& unlocked) {
    Call alias = newCall({servicePath, serviceInterface, "ReadAlias"});
    alias.text("default").withoutStarting();
    ObjectPath collection;
    const OSStatus status = send(alias).path(collection).status();
    unlocked = false;
    if (status != errSecSuccess || collection == noObject)
        return status;
    Call property = newCall({collection.c_str(), propertiesInterface, "Get"});
    property.text(collectionInterface).text("Locked");
    bool locked = true;
    const OSStatus statusOfProperty = send(property).variant(locked).status();
    unlocked = !locked;
    return statusOfProperty;
}

OSStatus SecretService::createDefaultCollection(ObjectPath& collection) {
    Call call = newCall({servicePath, serviceInterface, "CreateCollection"});
    call.open(SD_BUS_TYPE_ARRAY, "{sv}").open(SD_BUS_TYPE_DICT_ENTRY, "sv");
    call.text("org.freedesktop.Secret.Collection.Label");
    call.open(SD_BUS_TYPE_VARIANT, "s").text("Default keyring").close();
    call.close().close().text("default");
    ObjectPath prompt;
    OSStatus status = send(call).path(collection).path(prompt).status();
    if (status == errSecSuccess && collection == noObject)
        status = askUser(prompt, collection);
    const bool missing = collection.empty() || collection == noObject;
    return status == errSecSuccess && missing ? errSecInternalComponent : status;
}

OSStatus SecretService::createItem(const ObjectPath& collection, const std::string& label,
                                   const Attributes& attributes, const std::string& secret) {
    if (const OSStatus status = openSession(); status != errSecSuccess)
        return status;
    Call call = newCall({collection.c_str(), collectionInterface, "CreateItem"});
    call.open(SD_BUS_TYPE_ARRAY, "{sv}");
    call.open(SD_BUS_TYPE_DICT_ENTRY, "sv").text("org.freedesktop.Secret.Item.Label");
    call.open(SD_BUS_TYPE_VARIANT, "s").text(label).close().close();
    call.open(SD_BUS_TYPE_DICT_ENTRY, "sv").text("org.freedesktop.Secret.Item.Attributes");
    call.open(SD_BUS_TYPE_VARIANT, "a{ss}").attributes(attributes).close().close();
    call.close().secret(session_, secret).boolean(true);
    ObjectPath item;
    ObjectPath prompt;
    const OSStatus status = send(call).path(item).path(prompt).status();
    return status == errSecSuccess ? askUser(prompt, item) : status;
}

OSStatus SecretService::askUser(const ObjectPath& prompt, ObjectPath& result) {
    if (prompt == noObject)
        return errSecSuccess;
    if (!secretServiceMayAskUser)
        return errSecInteractionNotAllowed;
    PromptWatch watch;
    if (const OSStatus status = watch.start(bus_.get(), owner_, prompt); status != errSecSuccess)
        return status;
    Call call = newCall({prompt.c_str(), promptInterface, "Prompt"});
    call.text("");
    if (const OSStatus status = send(call).status(); status != errSecSuccess)
        return status;
    const OSStatus status = watch.wait(bus_.get());
    result = watch.object();
    return status;
}

} // namespace platform
