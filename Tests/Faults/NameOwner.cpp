#include "NameOwner.h"

#include <systemd/sd-bus.h>

#include <memory>
#include <stdexcept>

namespace {

constexpr const char* name = "com.norvale.tessor";
constexpr const char* interface = "org.freedesktop.Application";

} // namespace

NameOwner::NameOwner(Manner manner) : manner_(manner) {
    if (sd_bus_open_user(&bus_) < 0 || sd_bus_request_name(bus_, name, 0) < 0)
        throw std::runtime_error("The name is not to be had");
    thread_ = std::jthread([this] { serve(); });
}

NameOwner::~NameOwner() {
    ends_ = true;
    thread_.join();
    sd_bus_flush_close_unref(bus_);
}

std::string NameOwner::calls() {
    const std::lock_guard lock(mutex_);
    if (calls_.empty())
        return "nothing";
    const std::string times = calls_.size() > 1 ? std::to_string(calls_.size()) + " times " : "";
    return times + calls_.back();
}

void NameOwner::serve() {
    constexpr std::uint64_t moment = 10'000;
    while (!ends_) {
        sd_bus_message* message = nullptr;
        const int result = sd_bus_process(bus_, &message);
        if (result < 0)
            return;
        const bool goesOn = message == nullptr ||
                            sd_bus_message_is_method_call(message, interface, nullptr) <= 0 ||
                            handle(message);
        sd_bus_message_unref(message);
        if (!goesOn)
            return;
        if (result == 0)
            sd_bus_wait(bus_, moment);
    }
}

bool NameOwner::handle(sd_bus_message* call) {
    takeDown(call);
    switch (manner_) {
    case Manner::Answers:
        sd_bus_reply_method_return(call, "");
        break;
    case Manner::AnswersWithAnError:
        sd_bus_reply_method_errorf(call, SD_BUS_ERROR_FAILED, "Not today");
        break;
    case Manner::SaysThatItIsEnding:
        sd_bus_reply_method_errorf(call, "com.norvale.tessor.Error.Ending", "Still here");
        break;
    case Manner::GoesAway:
        sd_bus_close(bus_);
        return false;
    case Manner::IsSilent:
        break;
    case Manner::HasNoSuchObject:
        sd_bus_reply_method_errorf(call, SD_BUS_ERROR_UNKNOWN_OBJECT, "No such object");
        break;
    }
    return true;
}

void NameOwner::takeDown(sd_bus_message* call) {
    std::string words = sd_bus_message_get_member(call);
    const char* url = nullptr;
    if (sd_bus_message_enter_container(call, SD_BUS_TYPE_ARRAY, "s") > 0) {
        while (sd_bus_message_read_basic(call, SD_BUS_TYPE_STRING, &url) > 0)
            words += std::string(" ") + url;
    }
    const std::lock_guard lock(mutex_);
    calls_.push_back(words);
}
