// Every fault of a service or on the way to it, for each of the five operations, and for the
// upload-URL command: what the user is told, what is logged, and what is stored afterwards. It
// leaves a table of all that.

#include "FaultTable.h"
#include "Operation.h"
#include "ServiceFault.h"
#include "Simulator.h"
#include "Support/ChildProcess.h"
#include "Support/LogCapture.h"
#include "Support/PrivateSession.h"
#include "Support/WorldAuthority.h"
#include "VTTokenStore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>

using nlohmann::json;
using platform::encodeUTF8;
using platform::Error;
using simulator::Simulator;
using testing::Combine;
using testing::StartsWith;
using testing::ValuesIn;

namespace {

constexpr const char* noContact = "An error occurred while attempting to contact the server";
constexpr const char* notResponding = "Server is not responding";

/// What the user is told of the fault; absent when the operation succeeds.
std::optional<std::string> messageOf(const ServiceFault& fault, const Operation& operation) {
    switch (fault.told) {
    case Told::nothing:
        return std::nullopt;
    case Told::noContact:
        return noContact;
    case Told::notResponding:
        return notResponding;
    case Told::ownMessage:
        return operation.messageWithoutData();
    }
    return std::nullopt;
}

[[maybe_unused]] const auto* const table =
    testing::AddGlobalTestEnvironment(new FaultTable("service"));

/// "curl 60" for an error of the transport.
std::string cause(const Error& error) {
    const Error* const below = error.underlyingError();
    return below == nullptr ? ""
                            : " (" + below->domain() + " " + std::to_string(below->code()) + ")";
}

/// The part of the log line of an error that is in quotation marks, with these.
std::string messageIn(const std::string& line) {
    const std::size_t begin = line.find('"');
    return line.substr(begin, line.find('"', begin + 1) + 1 - begin);
}

std::string outcomeOf(const std::optional<Error>& error) {
    return error ? "\"" + error->localizedDescription() + "\"" + cause(*error) : "succeeds";
}

} // namespace

class ServiceFaultTest : public testing::TestWithParam<std::tuple<ServiceFault, Operation>> {};

TEST_P(ServiceFaultTest, IsToldWithItsOwnMessage) {
    const auto& [fault, operation] = GetParam();
    Simulator simulator(worldAuthority());
    FaultRow row(fault.name, operation.name);
    const std::string server = fault.arrange(simulator, operation);
    const std::optional<Error> error = operation.perform(server);
    row.setOutcome(outcomeOf(error));

    const std::optional<std::string> message = messageOf(fault, operation);
    ASSERT_EQ(error.has_value(), message.has_value()) << outcomeOf(error);
    if (!error)
        return;
    EXPECT_EQ(error->domain(), VTAPIErrorDomain);
    EXPECT_EQ(error->code(), VTAPIErrorCode);
    EXPECT_EQ(error->localizedDescription(), message);
    const Error* const below = error->underlyingError();
    ASSERT_EQ(below != nullptr, fault.told != Told::ownMessage);
    if (below != nullptr) {
        EXPECT_EQ(below->domain(), fault.told == Told::noContact ? "curl" : "JSON");
    }
}

INSTANTIATE_TEST_SUITE_P(All, ServiceFaultTest,
                         Combine(ValuesIn(ServiceFault::all()), ValuesIn(Operation::all())));

class WrongTypeTest : public testing::TestWithParam<Operation> {
protected:
    static std::vector<json> othersThan(const json& right) {
        std::vector<json> values = {nullptr, true, 1, -1.5, json::array()};
        values.push_back(right.is_string() ? json::object() : json("text"));
        return values;
    }
};

TEST_P(WrongTypeTest, OfAnyMemberCountsAsAbsent) {
    const Operation& operation = GetParam();
    Simulator simulator(worldAuthority());
    for (const auto& [path, message] : operation.members) {
        std::string pointer = "." + path;
        std::replace(pointer.begin(), pointer.end(), '.', '/');
        const json::json_pointer member(pointer);
        const json answer = json::parse(operation.answer);
        for (const json& value : othersThan(answer.at(member))) {
            json changed = answer;
            changed[member] = value;
            simulator.answer(operation.path, {.body = changed.dump()});
            FaultRow row(path + " is " + value.dump(), operation.name);
            const std::optional<Error> error = operation.perform(simulator.server());
            row.setOutcome(outcomeOf(error));
            ASSERT_TRUE(error) << changed;
            EXPECT_EQ(error->localizedDescription(), message) << changed;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(All, WrongTypeTest, ValuesIn(Operation::all()));

/// The built program, with a registration in a real keyring.
class UploadCommandFaultTest : public testing::Test {
protected:
    struct Record {
        std::optional<platform::Data> token;
        std::optional<std::string> server;
        std::optional<std::string> account;

        bool operator==(const Record&) const = default;
    };

    static Record stored() {
        Record record;
        EXPECT_TRUE(VTTokenStore::getToken(record.token, record.server, record.account));
        return record;
    }

    void meet(const ServiceFault& fault) {
        Simulator simulator(worldAuthority());
        const Operation& operation = Operation::all().back();
        FaultRow row(fault.name, "upload command");
        const std::string server = fault.arrange(simulator, operation);
        ASSERT_TRUE(VTTokenStore::setToken(encodeUTF8(token), server, "ada@example.com"));
        const Record before = stored();
        const std::size_t linesBefore = log_.lines().size();

        const ProgramResult result =
            runProgram({.arguments = {VT_PROGRAM, "--generate-upload-url", "report.pdf"}},
                       std::chrono::minutes(2));
        const auto lines = log_.lines();
        row.setOutcome("status " + std::to_string(result.exitStatus.value_or(-1)) +
                       (lines.size() > linesBefore ? ", logs " + messageIn(lines.back()) : "") +
                       (stored() == before ? ", registration kept" : ", registration changed"));

        if (const auto message = messageOf(fault, operation)) {
            EXPECT_EQ(result.exitStatus, 2);
            EXPECT_EQ(result.standardOutput, "");
            ASSERT_EQ(lines.size(), linesBefore + 1);
            EXPECT_THAT(
                lines.back(),
                StartsWith("Error Domain=com.norvale.tessor.api Code=4097 \"" + *message + "\""));
            EXPECT_EQ(result.standardError, "ardentra-registration: " + lines.back() + "\n");
            EXPECT_THAT(lines.back(), testing::Not(testing::HasSubstr(token)));
        } else {
            EXPECT_EQ(result.exitStatus, 0);
            EXPECT_EQ(result.standardOutput, "PUT\nhttps://upload.example/\nada@example.com\n");
            EXPECT_EQ(lines.size(), linesBefore);
        }
        EXPECT_EQ(stored(), before);
    }

    static constexpr const char* token = "secret-token";

    PrivateSession session_{PrivateSession::Keyring::unlocked};
    LogCapture log_;
};

// The real limit, for once: the others are tested with shorter ones.
TEST_F(UploadCommandFaultTest, GivesUpAServerThatIsSilentForAMinute) {
    const ServiceFault silence = {
        "silent in the body", Told::noContact,
        [](Simulator& simulator, const Operation& operation) {
            simulator.answer(operation.path,
                             {.body = operation.answer, .wire = simulator::Wire::StallInBody});
            return simulator.server();
        }};
    const auto start = std::chrono::steady_clock::now();
    meet(silence);
    EXPECT_GT(std::chrono::steady_clock::now() - start, std::chrono::seconds(59));
}

TEST_F(UploadCommandFaultTest, EndsWithItsStatusAndOneLineAndKeepsTheRegistration) {
    for (const ServiceFault& fault : ServiceFault::all()) {
        SCOPED_TRACE(fault.name);
        meet(fault);
    }
}
