#pragma once

#include "Data.h"
#include "URL.h"

#include <string>
#include <utility>
#include <vector>

namespace platform {

/// An HTTP request to be sent: URL, method, headers, body. A plain value.
class URLRequest {
public:
    using Header = std::pair<std::string, std::string>;

    /// A "GET" of the URL without headers or body.
    static URLRequest requestWithURL(platform::URL url) { return URLRequest(std::move(url)); }

    const platform::URL& URL() const { return url_; }
    const std::string& HTTPMethod() const { return method_; }
    const std::vector<Header>& allHTTPHeaderFields() const { return headers_; }
    const Data& HTTPBody() const { return body_; }

    void setHTTPMethod(std::string method) { method_ = std::move(method); }
    void setHTTPBody(Data body) { body_ = std::move(body); }

    /// Replaces every header of that name (names are compared without regard to case).
    void setValue(const std::string& value, const std::string& forHTTPHeaderField);

    /// Appends a header, whether or not one of that name is there.
    void addValue(const std::string& value, const std::string& forHTTPHeaderField);

private:
    explicit URLRequest(platform::URL url) : url_(std::move(url)) {}

    platform::URL url_;
    std::string method_ = "GET";
    std::vector<Header> headers_;
    Data body_;
};

} // namespace platform
