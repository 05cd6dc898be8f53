#pragma once

#include "Operation.h"
#include "Simulator.h"

#include <functional>
#include <ostream>
#include <string>
#include <vector>

/// What the user is told.
enum class Told {
    nothing,       ///< the operation succeeds in spite of it
    noContact,     ///< the server could not be reached; the error below is the transport's
    notResponding, ///< the answer is no JSON; the error below says so
    ownMessage     ///< what the operation says of JSON that lacks what it needs
};

/// Something that is wrong with the service or on the way there.
struct ServiceFault {
    std::string name;
    Told told;

    /// Makes it happen, with the whole answer that the operation would get; the server to ask.
    std::function<std::string(simulator::Simulator& simulator, const Operation& operation)> arrange;

    static const std::vector<ServiceFault>& all();
};

std::ostream& operator<<(std::ostream& stream, const ServiceFault& fault);
