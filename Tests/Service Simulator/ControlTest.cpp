#include "SimulatorTest.h"

#include <gmock/gmock.h>

using testing::IsEmpty;
using testing::SizeIs;

namespace {

/// The operations for scripts from a shell.
class Control : public SimulatorTest {
protected:
    Outcome follow(const std::string& script) {
        return client.perform({.method = "PUT", .url = url("/simulator/script"), .body = script});
    }
};

} // namespace

TEST_F(Control, TellsTheRequestsButNotItsOwn) {
    client.perform({.method = "POST", .url = url("/a?b"), .headers = {"X-One: 1"}, .body = "\xff"});
    const Outcome outcome = client.get(url("/simulator/requests"));
    EXPECT_EQ(outcome.status, 200);
    const auto requests = nlohmann::json::parse(outcome.body);
    ASSERT_THAT(requests, SizeIs(1));
    EXPECT_EQ(requests[0].at("method"), "POST");
    EXPECT_EQ(requests[0].at("target"), "/a?b");
    EXPECT_EQ(requests[0].at("body"), "\uFFFD");
    EXPECT_THAT(requests[0].at("headers"), testing::Contains(nlohmann::json{"X-One", "1"}));
    EXPECT_THAT(service.requests(), SizeIs(1));
}

TEST_F(Control, ForgetsTheRequests) {
    client.get(url("/"));
    EXPECT_EQ(client.perform({.method = "DELETE", .url = url("/simulator/requests")}).status, 204);
    EXPECT_THAT(service.requests(), IsEmpty());
}

TEST_F(Control, FollowsAScriptUntilItIsTakenAway) {
    EXPECT_EQ(
        follow(R"([{"path": "/a", "status": 503}, {"path": "/a", "status": 500, "once": true}])")
            .status,
        204);
    EXPECT_EQ(client.get(url("/a")).status, 500);
    EXPECT_EQ(client.get(url("/a")).status, 503);
    EXPECT_EQ(client.perform({.method = "DELETE", .url = url("/simulator/script")}).status, 204);
    EXPECT_EQ(client.get(url("/a")).status, 404);
}

TEST_F(Control, PutsANewScriptInThePlaceOfTheOld) {
    follow(R"({"certificate": "Expired", "answers": [{"path": "/a"}]})");
    EXPECT_EQ(Client(authority).get(url("/a")).code, CURLE_PEER_FAILED_VERIFICATION);
    follow(R"([{"path": "/b"}])");
    EXPECT_EQ(Client(authority).get(url("/a")).status, 404);
    EXPECT_EQ(Client(authority).get(url("/b")).status, 200);
}

TEST_F(Control, RefusesABadScriptAndKeepsTheOld) {
    follow(R"([{"path": "/a"}])");
    const Outcome outcome = follow(R"([{"path": "/b"}, {"path": "c"}])");
    EXPECT_EQ(outcome.status, 400);
    EXPECT_EQ(outcome.body,
              "answers[1].path: expected a path that begins with \"/\" and has no query\n");
    EXPECT_EQ(client.get(url("/a")).status, 200);
    EXPECT_EQ(client.get(url("/b")).status, 404);
}

TEST_F(Control, HasNoOtherOperation) {
    EXPECT_EQ(client.get(url("/simulator/")).status, 404);
    EXPECT_EQ(client.get(url("/simulator/script")).status, 404);
}
