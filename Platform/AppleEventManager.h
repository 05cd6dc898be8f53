#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>

namespace platform {

using FourCharCode = std::uint32_t;

/// Class and ID of the event by which the desktop hands the application a URL ("GURL").
inline constexpr FourCharCode kInternetEventClass = 0x4755524C;
inline constexpr FourCharCode kAEGetURL = 0x4755524C;

/// The keyword of an event's direct object ("----"): for a get-URL event, the URL's text.
inline constexpr FourCharCode keyDirectObject = 0x2D2D2D2D;

/// A parameter of an event.
class AppleEventDescriptor {
public:
    explicit AppleEventDescriptor(std::string text) : text_(std::move(text)) {}
    const std::string& stringValue() const { return text_; }

private:
    std::string text_;
};

/// An event with its parameters.
class AppleEvent {
public:
    void setParamDescriptor(AppleEventDescriptor descriptor, FourCharCode forKeyword) {
        parameters_.insert_or_assign(forKeyword, std::move(descriptor));
    }

    /// Absent when the event has no such parameter.
    std::optional<AppleEventDescriptor> paramDescriptorForKeyword(FourCharCode keyword) const {
        const auto found = parameters_.find(keyword);
        return found == parameters_.end() ? std::nullopt : std::optional(found->second);
    }

private:
    std::map<FourCharCode, AppleEventDescriptor> parameters_;
};

/// Delivers events to the application, on the main thread.
class AppleEventManager {
public:
    using EventHandler = std::function<void(const AppleEvent& event, AppleEvent& reply)>;

    static AppleEventManager& sharedAppleEventManager();

    /// Registers the handler for events of that class and ID, in the place of an earlier one.
    void setEventHandler(EventHandler handler, FourCharCode forEventClass, FourCharCode andEventID);

    /// From now on there is no handler for these events. Without one, nothing happens.
    void removeEventHandlerForEventClass(FourCharCode eventClass, FourCharCode andEventID);

    /// Delivers an event to its handler, whose reply is dropped. False when none is registered.
    bool dispatch(const AppleEvent& event, FourCharCode eventClass, FourCharCode eventID);

private:
    std::map<std::pair<FourCharCode, FourCharCode>, EventHandler> handlers_;
};

} // namespace platform
