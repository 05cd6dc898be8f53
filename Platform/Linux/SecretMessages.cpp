#include "SecretMessages.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>

namespace platform {

namespace {

constexpr const char* secretSignature = "oayays";

// Text that is plain ASCII comes back unharmed from every keyring under this type; keyrings that
// keep attachments apart from passwords would make an attachment of any other.
constexpr const char* secretContentType = "text/plain";

struct ErrorMeaning {
    std::string_view name;
    OSStatus status;
};

constexpr auto errorMeanings = std::to_array<ErrorMeaning>({
    {"org.freedesktop.Secret.Error.IsLocked", errSecInteractionNotAllowed},
    {"org.freedesktop.DBus.Error.NoReply", errSecIO},
    {"org.freedesktop.DBus.Error.Disconnected", errSecIO},
    {"org.freedesktop.DBus.Error.Timeout", kPOSIXErrorBase + ETIMEDOUT},
    {"org.freedesktop.DBus.Error.TimedOut", kPOSIXErrorBase + ETIMEDOUT},
    {"org.freedesktop.DBus.Error.AccessDenied", kPOSIXErrorBase + EACCES},
    {"org.freedesktop.DBus.Error.NoMemory", kPOSIXErrorBase + ENOMEM},
    {"org.freedesktop.DBus.Error.LimitsExceeded", kPOSIXErrorBase + ENOBUFS},
});

OSStatus statusOfError(const sd_bus_error& error) {
    const std::string_view name = error.name;
    for (const auto& meaning : errorMeanings) {
        if (meaning.name == name)
            return meaning.status;
    }
    return name.starts_with("System.Error.") ? statusOfResult(-sd_bus_error_get_errno(&error))
                                             : errSecInternalComponent;
}

bool meansNoSuchItem(const sd_bus_error& error) {
    const std::string_view name = error.name;
    return name == "org.freedesktop.Secret.Error.NoSuchObject" ||
           name == "org.freedesktop.DBus.Error.UnknownObject" ||
           // What a service says of a method that every item has, once there is no item.
           name == "org.freedesktop.DBus.Error.UnknownMethod";
}

bool isAboutAnItem(const Call& call) {
    return std::strcmp(sd_bus_message_get_interface(call.message()),
                       "org.freedesktop.Secret.Item") == 0;
}

} // namespace

OSStatus statusOfResult(int result) {
    switch (-result) {
    case ECONNRESET:
    case ECONNABORTED:
    case ENOTCONN:
    case EPIPE:
    case ESHUTDOWN:
        return errSecIO;
    default:
        return result < 0 ? kPOSIXErrorBase - result : errSecSuccess;
    }
}

bool meansNoService(const sd_bus_error& error) {
    const std::string_view name = error.name;
    return name == "org.freedesktop.DBus.Error.ServiceUnknown" ||
           name == "org.freedesktop.DBus.Error.NameHasNoOwner" ||
           name.starts_with("org.freedesktop.DBus.Error.Spawn.");
}

bool meansNoSuchMethod(const sd_bus_error* error) {
    return error != nullptr && sd_bus_error_has_name(error, SD_BUS_ERROR_UNKNOWN_METHOD) > 0;
}

Call::Call(sd_bus* bus, const std::string& destination, const Method& method) {
    sd_bus_message* message = nullptr;
    result_ = sd_bus_message_new_method_call(bus, &message, destination.c_str(), method.path,
                                             method.interface, method.member);
    message_.reset(message);
}

template <typename Operation>
Call& Call::step(Operation operation) {
    if (result_ >= 0)
        result_ = operation(message_.get());
    return *this;
}

Call& Call::basic(char type, const void* value) {
    return step(
        [=](sd_bus_message* message) { return sd_bus_message_append_basic(message, type, value); });
}

Call& Call::text(const std::string& value) {
    return basic(SD_BUS_TYPE_STRING, value.c_str());
}

Call& Call::path(const std::string& value) {
    return basic(SD_BUS_TYPE_OBJECT_PATH, value.c_str());
}

Call& Call::boolean(bool value) {
    const int number = value ? 1 : 0;
    return basic(SD_BUS_TYPE_BOOLEAN, &number);
}

Call& Call::bytes(const std::string& value) {
    return step([&](sd_bus_message* message) {
        return sd_bus_message_append_array(message, SD_BUS_TYPE_BYTE, value.data(), value.size());
    });
}

Call& Call::open(char type, const char* contents) {
    return step([=](sd_bus_message* message) {
        return sd_bus_message_open_container(message, type, contents);
    });
}

Call& Call::close() {
    return step(sd_bus_message_close_container);
}

Call& Call::sensitive() {
    return step(sd_bus_message_sensitive);
}

Call& Call::withoutStarting() {
    return step([](sd_bus_message* message) { return sd_bus_message_set_auto_start(message, 0); });
}

Call& Call::attributes(const std::map<std::string, std::string>& values) {
    open(SD_BUS_TYPE_ARRAY, "{ss}");
    for (const auto& [name, value] : values)
        open(SD_BUS_TYPE_DICT_ENTRY, "ss").text(name).text(value).close();
    return close();
}

Call& Call::secret(const std::string& session, const std::string& value) {
    sensitive().open(SD_BUS_TYPE_STRUCT, secretSignature);
    return path(session).bytes("").bytes(value).text(secretContentType).close();
}

Reply Reply::failure(const Call& call, const sd_bus_error& error) {
    const bool noItem = isAboutAnItem(call) && meansNoSuchItem(error);
    return Reply(noItem ? errSecItemNotFound : statusOfError(error));
}

Reply& Reply::take(int result) {
    if (result <= 0)
        status_ = errSecInternalComponent;
    return *this;
}

Reply& Reply::skip(const char* types) {
    if (status_ == errSecSuccess)
        take(sd_bus_message_skip(message_.get(), types));
    return *this;
}

Reply& Reply::path(std::string& value) {
    if (status_ != errSecSuccess)
        return *this;
    const char* text = nullptr;
    take(sd_bus_message_read_basic(message_.get(), SD_BUS_TYPE_OBJECT_PATH, &text));
    if (status_ == errSecSuccess)
        value = text;
    return *this;
}

Reply& Reply::paths(std::vector<std::string>& values) {
    if (status_ != errSecSuccess)
        return *this;
    take(sd_bus_message_enter_container(message_.get(), SD_BUS_TYPE_ARRAY, "o"));
    while (status_ == errSecSuccess && sd_bus_message_at_end(message_.get(), 0) == 0)
        path(values.emplace_back());
    return status_ == errSecSuccess ? take(sd_bus_message_exit_container(message_.get())) : *this;
}

Reply& Reply::variant(bool& value) {
    if (status_ != errSecSuccess)
        return *this;
    take(sd_bus_message_enter_container(message_.get(), SD_BUS_TYPE_VARIANT, "b"));
    int flag = 0;
    if (status_ == errSecSuccess)
        take(sd_bus_message_read_basic(message_.get(), SD_BUS_TYPE_BOOLEAN, &flag));
    if (status_ == errSecSuccess)
        value = flag != 0;
    return *this;
}

Reply& Reply::secret(std::string& value) {
    if (status_ != errSecSuccess)
        return *this;
    take(sd_bus_message_enter_container(message_.get(), SD_BUS_TYPE_STRUCT, secretSignature));
    skip("oay");
    const void* bytes = nullptr;
    std::size_t size = 0;
    if (status_ == errSecSuccess)
        take(sd_bus_message_read_array(message_.get(), SD_BUS_TYPE_BYTE, &bytes, &size));
    if (status_ == errSecSuccess)
        value.assign(static_cast<const char*>(bytes), size);
    return *this;
}

} // namespace platform
