#pragma once

#include "PendingCall.h"

#include <optional>
#include <string>

namespace platform {

/// Watches one prompt of the keyring until it ends in one way or another.
class PromptWatch {
public:
    /// Asks the bus for the signals; from then on no end of the prompt is missed. The owner is the
    /// keyring's unique name on the bus.
    OSStatus start(sd_bus* bus, const std::string& owner, const std::string& prompt);

    /// Waits for the end: errSecUserCanceled when the user dismissed the prompt, errSecIO when the
    /// keyring or the bus went away.
    OSStatus wait(sd_bus* bus);

    /// The object that the prompt yielded, where it yields one.
    const std::string& object() const { return object_; }

private:
    static int completed(sd_bus_message* signal, void* userData, sd_bus_error*);
    static int ownerWentAway(sd_bus_message*, void* userData, sd_bus_error*);

    std::optional<OSStatus> outcome_;
    std::string object_;
    Slot completed_;
    Slot ownerWentAway_;
};

} // namespace platform
