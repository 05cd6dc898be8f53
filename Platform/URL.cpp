#include "Platform/URL.h"

#include <uriparser/Uri.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace platform {

namespace {

/// A parsed URI that points into a text, which must outlive it.
class ParsedURI {
public:
    explicit ParsedURI(const std::string& text)
        : valid_(text.find('\0') == std::string::npos &&
                 uriParseSingleUriExA(&uri_, text.data(), text.data() + text.size(), nullptr) ==
                     URI_SUCCESS) {}
    ParsedURI(const ParsedURI&) = delete;
    ParsedURI& operator=(const ParsedURI&) = delete;
    ~ParsedURI() {
        if (valid_)
            uriFreeUriMembersA(&uri_);
    }

    bool valid() const { return valid_; }
    const UriUriA* operator->() const { return &uri_; }

private:
    UriUriA uri_{};
    bool valid_;
};

bool present(const UriTextRangeA& range) {
    return range.first != nullptr;
}

std::string_view textOf(const UriTextRangeA& range) {
    if (!present(range))
        return {};
    return {range.first, static_cast<std::size_t>(range.afterLast - range.first)};
}

/// Percent-encodes all but RFC 3986's unreserved characters.
std::string encode(std::string_view text) {
    std::string encoded;
    while (!text.empty()) {
        // The library takes a zero byte for the end of the text.
        const std::size_t length = std::min(text.find('\0'), text.size());
        std::string piece(length * 3 + 1, '\0');
        const char* const end =
            uriEscapeExA(text.data(), text.data() + length, piece.data(), URI_FALSE, URI_FALSE);
        encoded.append(piece.data(), static_cast<std::size_t>(end - piece.data()));
        text.remove_prefix(length);
        if (!text.empty()) {
            encoded += "%00";
            text.remove_prefix(1);
        }
    }
    return encoded;
}

std::string encodePath(const std::string& path) {
    std::string encoded;
    for (std::size_t start = 0; start < path.size();) {
        const std::size_t slash = std::min(path.find('/', start), path.size());
        encoded += encode(std::string_view(path).substr(start, slash - start));
        if (slash < path.size())
            encoded += '/';
        start = slash + 1;
    }
    return encoded;
}

std::string decode(std::string_view text) {
    std::string decoded(text);
    const char* const end = uriUnescapeInPlaceExA(decoded.data(), URI_FALSE, URI_BR_DONT_TOUCH);
    decoded.resize(static_cast<std::size_t>(end - decoded.data()));
    return decoded;
}

URLQueryItem queryItem(std::string_view text) {
    const std::size_t equals = text.find('=');
    if (equals == std::string_view::npos)
        return {decode(text), std::nullopt};
    return {decode(text.substr(0, equals)), decode(text.substr(equals + 1))};
}

std::vector<URLQueryItem> queryItemsOf(std::string_view query) {
    std::vector<URLQueryItem> items;
    while (!query.empty()) {
        const std::size_t ampersand = std::min(query.find('&'), query.size());
        items.push_back(queryItem(query.substr(0, ampersand)));
        query.remove_prefix(std::min(ampersand + 1, query.size()));
    }
    return items;
}

std::string queryText(const std::vector<URLQueryItem>& items) {
    std::string query = "?";
    for (const URLQueryItem& item : items) {
        if (query.size() > 1)
            query += '&';
        query += encode(item.name);
        if (item.value)
            query += '=' + encode(*item.value);
    }
    return query;
}

bool isPort(long port) {
    return port >= 0 && port <= 65535;
}

} // namespace

std::optional<URL> URL::URLWithString(const std::string& text) {
    if (!ParsedURI(text).valid())
        return std::nullopt;
    return platform::URL(text);
}

URLComponents URLComponents::componentsWithURL(const platform::URL& url) {
    const ParsedURI uri(url.absoluteString());
    URLComponents components;
    if (present(uri->scheme))
        components.scheme_ = textOf(uri->scheme);
    if (present(uri->hostText))
        components.host_ = decode(textOf(uri->hostText));
    if (present(uri->portText) && !textOf(uri->portText).empty())
        components.port_ = std::strtol(std::string(textOf(uri->portText)).c_str(), nullptr, 10);
    for (const UriPathSegmentA* segment = uri->pathHead; segment != nullptr;
         segment = segment->next)
        components.path_ += '/' + decode(textOf(segment->text));
    if (present(uri->query))
        components.queryItems_ = queryItemsOf(textOf(uri->query));
    return components;
}

std::optional<platform::URL> URLComponents::URL() const {
    if (!scheme_ || !host_ || host_->empty() || (port_ && !isPort(*port_)))
        return std::nullopt;
    std::string text = *scheme_ + "://" + *host_;
    if (port_)
        text += ':' + std::to_string(*port_);
    text += encodePath(path_);
    if (queryItems_)
        text += queryText(*queryItems_);

    // A host text with a delimiter in it would be read as something else than a host.
    const ParsedURI uri(text);
    if (!uri.valid() || textOf(uri->hostText) != *host_)
        return std::nullopt;
    return platform::URL::URLWithString(text);
}

} // namespace platform
