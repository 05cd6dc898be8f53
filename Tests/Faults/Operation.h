#pragma once

#include "VTAPI.h"

#include <optional>
#include <string>
#include <vector>

/// One of the five operations of the service's client, as the faults meet it.
struct Operation {
    std::string name;
    std::string path;

    /// The whole answer of a service in order.
    std::string answer;

    /// The members of the answer that the operation needs, each with what is above it
    /// ("data.type"), and what the user is told when one of them has the wrong type.
    struct Member {
        std::string path;
        std::string message;
    };
    std::vector<Member> members;

    /// Performs the operation and waits for its end: the error, or absent for a success.
    std::optional<platform::Error> (*perform)(const std::string& server);

    /// What the user is told of a JSON answer with nothing in it.
    const std::string& messageWithoutData() const { return members.front().message; }

    static const std::vector<Operation>& all();
};

std::ostream& operator<<(std::ostream& stream, const Operation& operation);
