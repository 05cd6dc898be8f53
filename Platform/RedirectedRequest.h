#pragma once

#include "Platform/URLRequest.h"

#include <optional>
#include <string>
#include <vector>

namespace platform {

/// A request on its way through redirects: what is to be sent to the place it has got to.
class RedirectedRequest {
public:
    static constexpr int mostRedirects = 20;

    /// The request must outlive this.
    explicit RedirectedRequest(const URLRequest& first);

    /// Goes on to the URL of an answer with that status: "POST" becomes "GET" on 301, 302 and 303.
    /// False when that would be one redirect more than mostRedirects.
    bool follow(long status, const std::string& url);

    const std::string& url() const { return url_; }
    const std::string& method() const { return method_; }

    /// The body, or null when it has been left behind.
    const Data* body() const { return bodyIsLeft_ ? nullptr : &first_.HTTPBody(); }

    /// Without "Authorization" at every other server (host and port), and without "Content-Type"
    /// when the body has been left behind.
    std::vector<URLRequest::Header> headers() const;

    /// "https://host:port/" of the URL, the host in lower case; absent when the URL is no https
    /// one.
    std::optional<URL> server() const;

private:
    const URLRequest& first_;
    std::string url_;
    std::string method_;
    bool bodyIsLeft_ = false;
    int redirects_ = 0;
};

} // namespace platform
