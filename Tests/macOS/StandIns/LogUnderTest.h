#pragma once

#include "Log.h"

#include <string>
#include <vector>

/// What is logged from now on, a line for each call.
class LogUnderTest {
public:
    LogUnderTest() { standins::takeLogLines(); }

    std::vector<std::string> lines() {
        const auto more = standins::takeLogLines();
        lines_.insert(lines_.end(), more.begin(), more.end());
        return lines_;
    }

private:
    std::vector<std::string> lines_;
};
