#include "PendingCall.h"

#include <cerrno>
#include <limits>

namespace platform {

int processOrWait(sd_bus* bus, std::uint64_t microseconds) {
    int result = sd_bus_process(bus, nullptr);
    if (result == 0)
        result = sd_bus_wait(bus, microseconds);
    return result == -EINTR ? 0 : result;
}

void PendingCall::sendAgain() {
    constexpr auto noLimit = std::numeric_limits<std::uint64_t>::max();
    answer_.reset();
    sd_bus_slot* slot = nullptr;
    result_ = sd_bus_call_async(bus_, &slot, message_, answered, this, noLimit);
    slot_.reset(slot);
}

int PendingCall::wait(std::chrono::microseconds limit) {
    using std::chrono::steady_clock;
    const auto deadline = steady_clock::now() + limit;
    while (result_ >= 0 && answer_ == nullptr) {
        const auto left =
            std::chrono::duration_cast<std::chrono::microseconds>(deadline - steady_clock::now());
        if (left.count() <= 0)
            return 0;
        result_ = processOrWait(bus_, static_cast<std::uint64_t>(left.count()));
    }
    return result_ < 0 ? result_ : 1;
}

int PendingCall::answered(sd_bus_message* answer, void* userData, sd_bus_error*) {
    static_cast<PendingCall*>(userData)->answer_.reset(sd_bus_message_ref(answer));
    return 0;
}

} // namespace platform
