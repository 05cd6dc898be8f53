#include "Platform/Error.h"

#include <utility>

namespace platform {

Error::Error(std::string domain, long code, std::string localizedDescription)
    : domain_(std::move(domain)), code_(code),
      localizedDescription_(std::move(localizedDescription)) {}

Error::Error(std::string domain, long code, std::string localizedDescription, Error underlyingError)
    : Error(std::move(domain), code, std::move(localizedDescription)) {
    underlyingError_ = std::make_shared<const Error>(std::move(underlyingError));
}

std::string Error::description() const {
    std::string text = "Error Domain=" + domain_ + " Code=" + std::to_string(code_) + " \"" +
                       localizedDescription_ +
                       "\" UserInfo={NSLocalizedDescription=" + localizedDescription_;
    if (underlyingError_)
        text += ", NSUnderlyingError={" + underlyingError_->description() + "}";
    return text + "}";
}

} // namespace platform
