#pragma once

#include "Client.h"
#include "Simulator.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>
#include <string_view>

inline constexpr const char* versionHeader = "x-veltora-client-version: test-1";

/// A simulator and a client that trusts it.
class SimulatorTest : public testing::Test {
protected:
    SimulatorTest()
        : authority(simulator::Authority::make()), service(authority), client(authority) {}

    std::string url(const std::string& target) const {
        return "https://" + service.server() + target;
    }

    /// A call as the application would make it.
    Outcome call(const std::string& method, const std::string& target,
                 std::vector<std::string> headers = {}, std::optional<std::string> body = {}) {
        headers.emplace_back(versionHeader);
        return client.perform({.method = method,
                               .url = url(target),
                               .headers = std::move(headers),
                               .body = std::move(body)});
    }

    static nlohmann::ordered_json dataOf(const Outcome& outcome) {
        return nlohmann::ordered_json::parse(outcome.body).at("data");
    }

    simulator::Authority authority;
    simulator::Simulator service;
    Client client;
};

/// Expects an error answer of the service: its status and a JSON envelope with a message.
inline void expectRefusal(const Outcome& outcome, long status) {
    EXPECT_EQ(outcome.code, CURLE_OK) << outcome.error;
    EXPECT_EQ(outcome.status, status);
    EXPECT_EQ(outcome.header("Content-Type"), "application/json");
    const auto answer = nlohmann::json::parse(outcome.body, nullptr, false);
    ASSERT_TRUE(answer.is_object()) << outcome.body;
    EXPECT_EQ(answer.size(), 1U);
    EXPECT_FALSE(answer.value("/error/message"_json_pointer, "").empty()) << outcome.body;
}
