#include "SimulatorTest.h"

#include <gmock/gmock.h>

#include <future>

using simulator::Simulator;
using simulator::Wire;
using testing::HasSubstr;

TEST(Simulator, TellsWhereItListens) {
    const Simulator service(simulator::Authority::make());
    EXPECT_NE(service.port(), 0);
    EXPECT_EQ(service.server(), "localhost:" + std::to_string(service.port()));
}

TEST(Simulator, RefusesAPortThatIsTaken) {
    const simulator::Authority authority = simulator::Authority::make();
    const Simulator first(authority);
    try {
        const Simulator second(authority, {.port = first.port()});
        FAIL() << "two listen on one port";
    } catch (const std::runtime_error& error) {
        EXPECT_THAT(error.what(), HasSubstr("port " + std::to_string(first.port())));
    }
}

TEST(Simulator, ListensOnTheOtherFamilyOfAddressesToo) {
    const simulator::Authority authority = simulator::Authority::make();
    const Simulator service(authority, {.address = "::1"});
    Client client(authority);
    const Outcome outcome = client.get("https://[::1]:" + std::to_string(service.port()) + "/");
    EXPECT_EQ(outcome.code, CURLE_OK) << outcome.error;
}

TEST(Simulator, EndsAtOnceWithConnectionsStalled) {
    const simulator::Authority authority = simulator::Authority::make();
    auto service = std::make_unique<Simulator>(authority);
    service->answer("/x", {.wire = Wire::StallInBody});
    service->answer("/y", {.delay = std::chrono::hours(1)});
    const auto stall = [&authority, server = service->server()](const std::string& path) {
        Client client(authority);
        return client.get("https://" + server + path).code;
    };
    auto inBody = std::async(std::launch::async, stall, "/x");
    auto delayed = std::async(std::launch::async, stall, "/y");
    ASSERT_TRUE(service->waitForRequests(2, std::chrono::seconds(20)));
    const auto start = std::chrono::steady_clock::now();
    service.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
    EXPECT_NE(inBody.get(), CURLE_OPERATION_TIMEDOUT);
    EXPECT_NE(delayed.get(), CURLE_OPERATION_TIMEDOUT);
}

TEST(Simulator, EndsAtOnceWithAConnectionThatWaitsForItsNextRequest) {
    const simulator::Authority authority = simulator::Authority::make();
    auto service = std::make_unique<Simulator>(authority);
    Client client(authority);
    client.get("https://" + service->server() + "/");
    const auto start = std::chrono::steady_clock::now();
    service.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
}
