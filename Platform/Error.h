#pragma once

#include <memory>
#include <optional>
#include <string>

namespace platform {

/// A failure as a value: a domain, a code within the domain, a description that can be shown to the
/// user and, where another failure caused this one, that failure. Immutable; copies are cheap.
class Error {
public:
    Error(std::string domain, long code, std::string localizedDescription);
    Error(std::string domain, long code, std::string localizedDescription, Error underlyingError);

    const std::string& domain() const { return domain_; }
    long code() const { return code_; }

    /// The text to show to the user.
    const std::string& localizedDescription() const { return localizedDescription_; }

    /// The failure that caused this one, or null. Owned by this error.
    const Error* underlyingError() const { return underlyingError_.get(); }

    /// Everything, for the log, on one line: domain, code and user information with the description
    /// and the underlying error's own full description.
    std::string description() const;

private:
    std::string domain_;
    long code_;
    std::string localizedDescription_;
    std::shared_ptr<const Error> underlyingError_;
};

} // namespace platform
