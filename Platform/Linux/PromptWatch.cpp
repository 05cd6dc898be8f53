#include "PromptWatch.h"

#include <limits>
#include <utility>

namespace platform {

OSStatus PromptWatch::start(sd_bus* bus, const std::string& owner, const std::string& prompt) {
    sd_bus_slot* slot = nullptr;
    int result = sd_bus_match_signal(bus, &slot, owner.c_str(), prompt.c_str(),
                                     "org.freedesktop.Secret.Prompt", "Completed", completed, this);
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

OSStatus PromptWatch::wait(sd_bus* bus) {
    while (!outcome_) {
        const int result = processOrWait(bus, std::numeric_limits<std::uint64_t>::max());
        if (result < 0)
            return statusOfResult(result);
    }
    return *outcome_;
}

int PromptWatch::completed(sd_bus_message* signal, void* userData, sd_bus_error*) {
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

int PromptWatch::ownerWentAway(sd_bus_message*, void* userData, sd_bus_error*) {
    static_cast<PromptWatch*>(userData)->outcome_ = errSecIO;
    return 0;
}

} // namespace platform
