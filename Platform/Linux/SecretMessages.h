#pragma once

#include "Platform/Security.h"

#include <systemd/sd-bus.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

/// The messages of the Secret Service API and what its errors mean.
namespace platform {

/// The status of a negative result of the bus library: errSecIO when the connection is gone.
OSStatus statusOfResult(int result);

struct ReleaseMessage {
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using Message = std::unique_ptr<sd_bus_message, ReleaseMessage>;

/// A method of an object; the texts outlive it.
struct Method {
    const char* path;
    const char* interface;
    const char* member;
};

/// A call, written argument by argument. After a failure the rest is skipped and the failure kept.
class Call {
public:
    Call(sd_bus* bus, const std::string& destination, const Method& method);

    Call& text(const std::string& value);
    Call& path(const std::string& value);
    Call& boolean(bool value);
    Call& attributes(const std::map<std::string, std::string>& values);
    Call& secret(const std::string& session, const std::string& value);

    /// Containers, by the type characters of D-Bus.
    Call& open(char type, const char* contents);
    Call& close();

    /// Has this call and its answer wiped from memory when they are released.
    Call& sensitive();

    /// Has this call fail, instead of starting the service, where it is not running.
    Call& withoutStarting();

    sd_bus_message* message() const { return message_.get(); }
    OSStatus status() const { return statusOfResult(result_); }

private:
    template <typename Operation>
    Call& step(Operation operation);
    Call& basic(char type, const void* value);
    Call& bytes(const std::string& value);

    Message message_;
    int result_;
};

/// An answer, read value by value. After a failure the rest is skipped and the failure kept; values
/// that were not read stay as they were. What is not of the form that the API prescribes is
/// errSecInternalComponent.
class Reply {
public:
    explicit Reply(OSStatus failure) : status_(failure) {}
    explicit Reply(Message message) : message_(std::move(message)) {}

    /// The status of a call that was answered with an error or not at all.
    static Reply failure(const Call& call, const sd_bus_error& error);

    Reply& path(std::string& value);
    Reply& paths(std::vector<std::string>& values);
    Reply& secret(std::string& value);
    Reply& variant(bool& value);
    Reply& skip(const char* types);

    OSStatus status() const { return status_; }

private:
    Reply& take(int result);

    Message message_;
    OSStatus status_ = errSecSuccess;
};

/// Whether the error says that nothing has the name the call was sent to.
bool meansNoService(const sd_bus_error& error);

/// Whether it is an error that denies that there is such a method.
bool meansNoSuchMethod(const sd_bus_error* error);

} // namespace platform
