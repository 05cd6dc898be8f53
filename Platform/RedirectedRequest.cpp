#include "Platform/RedirectedRequest.h"

#include <curl/curl.h>

#include <memory>

namespace platform {

namespace {

struct PartsCleanup {
    void operator()(CURLU* parts) const { curl_url_cleanup(parts); }
};
struct TextCleanup {
    void operator()(char* text) const { curl_free(text); }
};

std::string part(CURLU* url, CURLUPart name) {
    char* text = nullptr;
    curl_url_get(url, name, &text, CURLU_DEFAULT_PORT);
    const std::unique_ptr<char, TextCleanup> owner(text);
    return text != nullptr ? text : "";
}

/// Read as the transport reads it, which is less strict than URL is.
std::optional<URL> serverOf(const std::string& text) {
    const std::unique_ptr<CURLU, PartsCleanup> url(curl_url());
    if (curl_url_set(url.get(), CURLUPART_URL, text.c_str(), 0) != CURLUE_OK ||
        part(url.get(), CURLUPART_SCHEME) != "https")
        return std::nullopt;
    std::string host = part(url.get(), CURLUPART_HOST);
    for (char& letter : host)
        letter = letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    return URL::URLWithString("https://" + host + ':' + part(url.get(), CURLUPART_PORT) + '/');
}

bool isSameServer(const std::string& one, const std::string& other) {
    const auto first = serverOf(one);
    const auto second = serverOf(other);
    return first && second && first->absoluteString() == second->absoluteString();
}

bool isNamed(const URLRequest::Header& header, const char* name) {
    return curl_strequal(header.first.c_str(), name) != 0;
}

} // namespace

RedirectedRequest::RedirectedRequest(const URLRequest& first)
    : first_(first), url_(first.URL().absoluteString()), method_(first.HTTPMethod()) {}

bool RedirectedRequest::follow(long status, const std::string& url) {
    if (redirects_ == mostRedirects)
        return false;
    ++redirects_;
    url_ = url;
    if (method_ == "POST" && (status == 301 || status == 302 || status == 303)) {
        method_ = "GET";
        bodyIsLeft_ = true;
    }
    return true;
}

std::vector<URLRequest::Header> RedirectedRequest::headers() const {
    std::vector<URLRequest::Header> headers = first_.allHTTPHeaderFields();
    if (bodyIsLeft_)
        std::erase_if(headers, [](const auto& header) { return isNamed(header, "Content-Type"); });
    if (redirects_ > 0 && !isSameServer(url_, first_.URL().absoluteString()))
        std::erase_if(headers, [](const auto& header) { return isNamed(header, "Authorization"); });
    return headers;
}

std::optional<URL> RedirectedRequest::server() const {
    return serverOf(url_);
}

} // namespace platform
