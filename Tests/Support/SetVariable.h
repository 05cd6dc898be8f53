#pragma once

#include <cstdlib>
#include <optional>
#include <string>

/// Sets an environment variable, or takes it away, for as long as this lives.
class SetVariable {
public:
    SetVariable(const char* name, const std::optional<std::string>& value) : name_(name) {
        if (const char* const before = std::getenv(name))
            before_ = before;
        apply(value);
    }
    SetVariable(const SetVariable&) = delete;
    SetVariable& operator=(const SetVariable&) = delete;
    ~SetVariable() { apply(before_); }

private:
    void apply(const std::optional<std::string>& value) {
        if (value)
            setenv(name_.c_str(), value->c_str(), 1);
        else
            unsetenv(name_.c_str());
    }

    std::string name_;
    std::optional<std::string> before_;
};
