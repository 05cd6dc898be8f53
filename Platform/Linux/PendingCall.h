#pragma once

#include "SecretMessages.h"

#include <chrono>
#include <cstdint>

/// How to wait on a connection to the bus.
namespace platform {

/// Handles what has arrived, or waits until something does, a signal comes or the time is up.
/// Negative errno when the connection fails.
int processOrWait(sd_bus* bus, std::uint64_t microseconds);

struct ReleaseSlot {
    void operator()(sd_bus_slot* slot) const { sd_bus_slot_unref(slot); }
};
using Slot = std::unique_ptr<sd_bus_slot, ReleaseSlot>;

/// A call that was sent, until its answer is there. Bus and message outlive it.
class PendingCall {
public:
    PendingCall(sd_bus* bus, sd_bus_message* message) : bus_(bus), message_(message) {
        sendAgain();
    }
    PendingCall(const PendingCall&) = delete;
    PendingCall& operator=(const PendingCall&) = delete;

    /// Sends the message once more and forgets an answer.
    void sendAgain();

    /// Positive when the answer is there, 0 when it is not in time, negative errno when the message
    /// could not be sent or the connection has failed.
    int wait(std::chrono::microseconds limit);

    /// What the answer says if it is an error, otherwise null. Owned by the answer.
    const sd_bus_error* error() const { return sd_bus_message_get_error(answer_.get()); }

    Message takeAnswer() { return std::move(answer_); }

private:
    static int answered(sd_bus_message* answer, void* userData, sd_bus_error* error);

    sd_bus* bus_;
    sd_bus_message* message_;
    int result_ = 0;
    Message answer_;
    Slot slot_;
};

} // namespace platform
