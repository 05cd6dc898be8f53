#include "Platform/AppleEventManager.h"

namespace platform {

AppleEventManager& AppleEventManager::sharedAppleEventManager() {
    static AppleEventManager manager;
    return manager;
}

void AppleEventManager::setEventHandler(EventHandler handler, FourCharCode forEventClass,
                                        FourCharCode andEventID) {
    handlers_.insert_or_assign({forEventClass, andEventID}, std::move(handler));
}

void AppleEventManager::removeEventHandlerForEventClass(FourCharCode eventClass,
                                                        FourCharCode andEventID) {
    handlers_.erase({eventClass, andEventID});
}

bool AppleEventManager::dispatch(const AppleEvent& event, FourCharCode eventClass,
                                 FourCharCode eventID) {
    const auto found = handlers_.find({eventClass, eventID});
    if (found == handlers_.end())
        return false;
    // A copy, because the handler may replace or remove itself.
    const EventHandler handler = found->second;
    AppleEvent reply;
    handler(event, reply);
    return true;
}

} // namespace platform
