#include "Request.h"

#include <strings.h>

namespace simulator {

std::string RecordedRequest::path() const {
    return target.substr(0, target.find('?'));
}

std::vector<std::string> RecordedRequest::values(std::string_view headerName) const {
    std::vector<std::string> found;
    for (const auto& [name, value] : headers) {
        if (name.size() == headerName.size() &&
            strncasecmp(name.data(), headerName.data(), name.size()) == 0) {
            found.push_back(value);
        }
    }
    return found;
}

std::optional<std::string> RecordedRequest::value(std::string_view headerName) const {
    const std::vector<std::string> found = values(headerName);
    return found.empty() ? std::nullopt : std::optional(found.front());
}

} // namespace simulator
