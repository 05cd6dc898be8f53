#include "SecretService.h"

#include "SecretMessages.h"

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <limits>
#include <optional>
#include <utility>

namespace platform {

namespace {

constexpr const char* serviceName = "org.freedesktop.secrets";
constexpr const char* servicePath = "/org/freedesktop/secrets";
constexpr const char* serviceInterface = "org.freedesktop.Secret.Service";
constexpr const char* collectionInterface = "org.freedesktop.Secret.Collection";
constexpr const char* itemInterface = "org.freedesktop.Secret.Item";
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

/// Handles what has arrived, or waits until something does or the time is up.
int processOrWait(sd_bus* bus, std::uint64_t microseconds) {
    int result = sd_bus_process(bus, nullptr);
    if (result == 0)
        result = sd_bus_wait(bus, microseconds);
    return result == -EINTR ? 0 : result;
}

class BusError {
public:
    BusError() = default;
    ~BusError() { sd_bus_error_free(&value); }
    BusError(const BusError&) = delete;
    BusError& operator=(const BusError&) = delete;

    sd_bus_error value{};
};

/// Keeps signals from this thread as long as it lives: the bus library gives a call up when one
/// comes, after it has sent its message.
class SignalsHeldBack {
public:
    SignalsHeldBack() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    SignalsHeldBack(const SignalsHeldBack&) = delete;
    SignalsHeldBack& operator=(const SignalsHeldBack&) = delete;
    ~SignalsHeldBack() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

private:
    sigset_t before_{};
};

struct ReleaseSlot {
    void operator()(sd_bus_slot* slot) const { sd_bus_slot_unref(slot); }
};

/// Watches one prompt until it ends in one way or another.
class PromptWatch {
public:
    /// Asks the bus for the signals; from then on no end of the prompt is missed.
    OSStatus start(sd_bus* bus, const std::string& owner, const std::string& prompt) {
        sd_bus_slot* slot = nullptr;
        int result = sd_bus_match_signal(bus, &slot, owner.c_str(), prompt.c_str(), promptInterface,
                                         "Completed", completed, this);
        completed_.reset(std::exchange(slot, nullptr));
        if (result >= 0) {
            const std::string rule = "type='signal',sender='org.freedesktop.DBus',"
                                     "interface='org.freedesktop.DBus',"
                                     "member='NameOwnerChanged',arg0='" +
                                     owner + "'";
            result = sd_bus_add_match(bus, &slot, rule.c_str(), ownerWentAway, this);
            ownerWentAway_.reset(slot);
        }
        return statusOfResult(result);
    }

    OSStatus wait(sd_bus* bus) {
        while (!outcome_) {
            const int result = processOrWait(bus, std::numeric_limits<std::uint64_t>::max());
            if (result < 0)
                return statusOfResult(result);
        }
        return *outcome_;
    }

    /// The object that the prompt yielded, where it yields one.
    const std::string& object() const { return object_; }

private:
    static int completed(sd_bus_message* signal, void* userData, sd_bus_error*) {
        auto& watch = *static_cast<PromptWatch*>(userData);
        int dismissed = 0;
        if (sd_bus_message_read_basic(signal, SD_BUS_TYPE_BOOLEAN, &dismissed) <= 0) {
            watch.outcome_ = errSecInternalComponent;
            return 0;
        }
        watch.outcome_ = dismissed != 0 ? errSecUserCanceled : errSecSuccess;
        const char* object = nullptr;
        if (sd_bus_message_enter_container(signal, SD_BUS_TYPE_VARIANT, "o") > 0 &&
            sd_bus_message_read_basic(signal, SD_BUS_TYPE_OBJECT_PATH, &object) > 0)
            watch.object_ = object;
        return 0;
    }

    static int ownerWentAway(sd_bus_message*, void* userData, sd_bus_error*) {
        static_cast<PromptWatch*>(userData)->outcome_ = errSecIO;
        return 0;
    }

    std::optional<OSStatus> outcome_;
    std::string object_;
    std::unique_ptr<sd_bus_slot, ReleaseSlot> completed_;
    std::unique_ptr<sd_bus_slot, ReleaseSlot> ownerWentAway_;
};

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
    sd_bus_set_method_call_timeout(bus.get(),
                                   static_cast<std::uint64_t>(secretServiceTimeLimit.count()));
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
    const SignalsHeldBack signalsHeldBack;
    BusError error;
    sd_bus_message* answer = nullptr;
    int result = sd_bus_call(bus_.get(), call.message(), 0, &error.value, &answer);
    // A keyring may fail to recognise a new client while another one leaves, and then denies the
    // method without having run it. At the second call it knows the client.
    if (owner_.empty() && sd_bus_error_has_name(&error.value, SD_BUS_ERROR_UNKNOWN_METHOD) > 0) {
        sd_bus_error_free(&error.value);
        result = sd_bus_call(bus_.get(), call.message(), 0, &error.value, &answer);
    }
    if (result < 0) {
        if (meansNoService(error.value))
            return Reply(owner_.empty() ? errSecServiceNotAvailable : errSecIO);
        return Reply::failure(call, error.value);
    }
    // From now on only this very process counts: one that takes its place knows nothing of our
    // session and may mean something else by the same object path.
    owner_ = sd_bus_message_get_sender(answer);
    return Reply(Message(answer));
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
