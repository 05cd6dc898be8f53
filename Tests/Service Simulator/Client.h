#pragma once

#include "Authority.h"

#include <curl/curl.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// What came of a request.
struct Outcome {
    CURLcode code = CURLE_OK;
    std::string error; ///< libcurl's own words
    long status = 0;
    std::string headers;   ///< as received, with the status line
    std::string body;      ///< decoded, as far as it came
    long verifyResult = 0; ///< OpenSSL's X509_V_ERR_...
    long connections = 0;  ///< how many new ones the request needed

    /// The value of the first header of this name, which is to be written as on the wire.
    std::optional<std::string> header(const std::string& name) const;
};

/// A request to make.
struct Call {
    std::string method = "GET";
    std::string url = {};
    std::vector<std::string> headers = {};
    std::optional<std::string> body = {};
    std::chrono::milliseconds timeout = std::chrono::seconds(20);
    std::size_t mostBytes = 1048576; ///< of the body; then the request is broken off
    bool decodes = true;             ///< accepts compressed bodies
};

/// A plain HTTPS client, which trusts one authority. Keeps its connection from call to call.
class Client {
public:
    explicit Client(const simulator::Authority& authority);

    /// Trusts what this folder of hashed certificates holds.
    explicit Client(const std::string& trustFolder);

    Outcome perform(const Call& call);
    Outcome get(const std::string& url) { return perform({.url = url}); }

private:
    explicit Client();

    std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> handle_;
};
