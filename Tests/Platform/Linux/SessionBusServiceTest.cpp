#include "Platform/Linux/SessionBusService.h"

#include "../OffscreenApplication.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using platform::SessionBusService;
using testing::ElementsAre;

namespace {

/// A service without a bus: what its own process delivers.
class SessionBusServiceTest : public testing::Test {
protected:
    SessionBusServiceTest() { EXPECT_EQ(service_.start({}, {}), SessionBusService::Outcome::Runs); }

    /// Receives, and takes down what comes; does that with each URL.
    void receive(const std::function<void(const QString& url)>& handle = [](const QString&) {}) {
        service_.deliverTo({.activate = [](const QVariantMap&) {},
                            .open =
                                [this, handle](const QString& url) {
                                    events_.push_back("begin " + url.toStdString());
                                    handle(url);
                                    events_.push_back("end " + url.toStdString());
                                }});
    }

    SetVariable noBus_{"DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere"};
    SessionBusService service_;
    std::vector<std::string> events_;
};

} // namespace

TEST_F(SessionBusServiceTest, DeliversAURLOfItsOwnProcess) {
    receive();
    EXPECT_TRUE(service_.deliver("test:one"));
    EXPECT_THAT(events_, ElementsAre("begin test:one", "end test:one"));
}

TEST_F(SessionBusServiceTest, KeepsAURLForTheReceiver) {
    EXPECT_TRUE(service_.deliver("test:one"));
    EXPECT_TRUE(service_.deliver("test:two"));
    receive();
    EXPECT_THAT(events_,
                ElementsAre("begin test:one", "end test:one", "begin test:two", "end test:two"));
}

TEST_F(SessionBusServiceTest, DeliversNoURLInTheMiddleOfAnother) {
    receive([this](const QString& url) {
        if (url == "test:one") {
            EXPECT_TRUE(service_.deliver("test:two"));
        }
    });
    EXPECT_TRUE(service_.deliver("test:one"));
    EXPECT_THAT(events_,
                ElementsAre("begin test:one", "end test:one", "begin test:two", "end test:two"));
}

TEST_F(SessionBusServiceTest, DeliversNoURLAnyMoreOnceItHasStopped) {
    receive();
    service_.stop();
    EXPECT_FALSE(service_.deliver("test:one"));
    EXPECT_THAT(events_, testing::IsEmpty());
}
