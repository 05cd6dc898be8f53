#pragma once

#include <optional>
#include <string>
#include <vector>

namespace platform {

/// A well-formed URL (RFC 3986). Immutable.
class URL {
public:
    /// The URL that the text is, unchanged (no normalisation: the case of scheme and host stays),
    /// or absent when the text is not a well-formed URI reference; a blank, a control character or
    /// a character outside ASCII makes it ill-formed.
    static std::optional<URL> URLWithString(const std::string& text);

    const std::string& absoluteString() const { return text_; }

private:
    explicit URL(std::string text) : text_(std::move(text)) {}
    std::string text_;
};

/// One item of a query: unencoded name and value. The value is absent when the item is a bare name
/// without "=" and empty when nothing follows the "=".
struct URLQueryItem {
    std::string name;
    std::optional<std::string> value;

    bool operator==(const URLQueryItem&) const = default;
};

/// A URL in parts, none of them percent-encoded.
class URLComponents {
public:
    URLComponents() = default;

    /// Splits a URL without resolving it against another and without changing the case of anything.
    static URLComponents componentsWithURL(const URL& url);

    const std::optional<std::string>& scheme() const { return scheme_; }
    const std::optional<std::string>& host() const { return host_; }
    const std::optional<long>& port() const { return port_; }
    const std::string& path() const { return path_; }

    /// The items of the query in the URL's order; absent when the URL has no query, an empty list
    /// when the query is empty.
    const std::optional<std::vector<URLQueryItem>>& queryItems() const { return queryItems_; }

    void setScheme(std::string scheme) { scheme_ = std::move(scheme); }
    void setHost(std::string host) { host_ = std::move(host); }
    void setPort(long port) { port_ = port; }
    void setPath(std::string path) { path_ = std::move(path); }
    void setQueryItems(std::vector<URLQueryItem> items) { queryItems_ = std::move(items); }

    /// The URL with these components, path and query percent-encoded as each requires, or absent
    /// when none can be formed: the host is empty or holds what no host name may (RFC 3986, 3.2.2),
    /// or the port is outside 0 to 65535. An empty list of query items yields a trailing "?".
    std::optional<platform::URL> URL() const;

private:
    std::optional<std::string> scheme_;
    std::optional<std::string> host_;
    std::optional<long> port_;
    std::string path_;
    std::optional<std::vector<URLQueryItem>> queryItems_;
};

} // namespace platform
