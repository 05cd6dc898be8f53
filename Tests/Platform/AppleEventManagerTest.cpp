#include "Platform/AppleEventManager.h"

#include <gtest/gtest.h>

using namespace platform;

namespace {

constexpr FourCharCode otherCode = 0x4F544852;

} // namespace

TEST(AppleEventManager, DeliversAnEventWithItsParametersToItsHandler) {
    AppleEventManager manager;
    std::string received;
    manager.setEventHandler(
        [&received](const AppleEvent& event, AppleEvent&) {
            received = event.paramDescriptorForKeyword(keyDirectObject)->stringValue();
        },
        kInternetEventClass, kAEGetURL);
    AppleEvent event;
    event.setParamDescriptor(AppleEventDescriptor("first"), keyDirectObject);
    event.setParamDescriptor(AppleEventDescriptor("veltora:x"), keyDirectObject);
    EXPECT_TRUE(manager.dispatch(event, kInternetEventClass, kAEGetURL));
    EXPECT_EQ(received, "veltora:x");
    EXPECT_FALSE(event.paramDescriptorForKeyword(otherCode).has_value());
}

TEST(AppleEventManager, DeliversNothingWithoutAHandlerForClassAndID) {
    AppleEventManager manager;
    EXPECT_FALSE(manager.dispatch({}, kInternetEventClass, kAEGetURL));
    manager.setEventHandler([](const AppleEvent&, AppleEvent&) { FAIL(); }, kInternetEventClass,
                            otherCode);
    EXPECT_FALSE(manager.dispatch({}, kInternetEventClass, kAEGetURL));
    EXPECT_FALSE(manager.dispatch({}, otherCode, otherCode));
}

TEST(AppleEventManager, ReplacesAnEarlierHandler) {
    AppleEventManager manager;
    int called = 0;
    for (const int number : {1, 2})
        manager.setEventHandler(
            [&called, number](const AppleEvent&, AppleEvent&) { called = number; },
            kInternetEventClass, kAEGetURL);
    EXPECT_TRUE(manager.dispatch({}, kInternetEventClass, kAEGetURL));
    EXPECT_EQ(called, 2);
}

TEST(AppleEventManager, LetsAHandlerRemoveItself) {
    AppleEventManager manager;
    int calls = 0;
    manager.setEventHandler(
        [&manager, &calls](const AppleEvent&, AppleEvent&) {
            manager.removeEventHandlerForEventClass(kInternetEventClass, kAEGetURL);
            ++calls;
        },
        kInternetEventClass, kAEGetURL);
    EXPECT_TRUE(manager.dispatch({}, kInternetEventClass, kAEGetURL));
    EXPECT_FALSE(manager.dispatch({}, kInternetEventClass, kAEGetURL));
    EXPECT_EQ(calls, 1);
}
