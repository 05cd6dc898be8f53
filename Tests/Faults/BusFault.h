#pragma once

#include "BusScene.h"

#include <functional>
#include <ostream>
#include <string>
#include <vector>

/// Something that is wrong with the session bus, or with a program on it that calls the application
/// or is called by it.
struct BusFault {
    std::string name;
    std::string operation; ///< the call, or "start" of the application with a URL

    /// Lets it happen.
    std::function<BusOutcome(BusScene& scene)> meet;
    BusOutcome expected;

    PrivateSession::Services services = {};

    static std::vector<BusFault> all();
};

std::ostream& operator<<(std::ostream& stream, const BusFault& fault);
