#include "Platform/URLRequest.h"

#include <strings.h>

namespace platform {

void URLRequest::setValue(const std::string& value, const std::string& forHTTPHeaderField) {
    std::erase_if(headers_, [&](const Header& header) {
        return strcasecmp(header.first.c_str(), forHTTPHeaderField.c_str()) == 0;
    });
    addValue(value, forHTTPHeaderField);
}

void URLRequest::addValue(const std::string& value, const std::string& forHTTPHeaderField) {
    headers_.emplace_back(forHTTPHeaderField, value);
}

} // namespace platform
