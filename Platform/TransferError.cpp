#include "Platform/TransferError.h"

#include "Platform/URLSession.h"

#include <curl/curl.h>

#include <string_view>

namespace platform {

namespace {

/// Where a quoted URL begins whose credentials end at that place, behind its scheme if it has one.
std::size_t beginningOfCredentials(std::string_view words, std::size_t end) {
    constexpr std::string_view separator = "://";
    const std::string_view before = words.substr(0, end);
    if (const std::size_t scheme = before.find(separator); scheme != std::string_view::npos)
        return scheme + separator.size();
    if (const std::size_t quote = before.find_first_of("'\""); quote != std::string_view::npos)
        return quote + 1;
    const std::size_t blank = before.rfind(' ');
    return blank == std::string_view::npos ? 0 : blank + 1;
}

// The URL may be ill-formed, so that only its ends are certain; rather too much goes than too
// little.
std::string withoutCredentials(std::string words) {
    const std::size_t end = words.rfind('@');
    if (end == std::string::npos)
        return words;
    const std::size_t begin = beginningOfCredentials(words, end);
    return words.erase(begin, end + 1 - begin);
}

} // namespace

Error transferError(long code, const std::string& words) {
    return {URLErrorDomain, code,
            withoutCredentials(words.empty() ? curl_easy_strerror(static_cast<CURLcode>(code))
                                             : words)};
}

} // namespace platform
