#pragma once

#include "Data.h"
#include "Error.h"
#include "URLRequest.h"

#include <chrono>
#include <functional>
#include <optional>

namespace platform {

/// The domain of transport errors. The code is the transport library's own (a CURLcode) and the
/// description its own words.
inline constexpr const char* URLErrorDomain = "curl";

/// The code for what is no URL, or none that can be loaded (CURLE_URL_MALFORMAT).
inline constexpr long URLErrorBadURL = 3;

/// How a session loads. Nothing is kept from one session to the next: no cache, no cookies, no
/// credentials.
struct URLSessionConfiguration {
    static URLSessionConfiguration ephemeralSessionConfiguration() { return {}; }

    /// The longest time without a byte in either direction, and the longest time for the
    /// connection to be made.
    std::chrono::milliseconds timeoutIntervalForRequest = std::chrono::seconds(60);
};

/// One HTTPS request, made by URLSession, started by resume().
class URLSessionDataTask {
public:
    /// Takes (body, nothing) or (nothing, transport error).
    using CompletionHandler =
        std::function<void(std::optional<Data> body, std::optional<Error> error)>;

    /// Starts the request on a thread of its own and returns at once. The completion handler is
    /// called there exactly once; the task and the session need not live until then. A process that
    /// ends first calls no handler any more: the request is broken off and its thread joined.
    void resume();

private:
    friend class URLSession;
    URLSessionDataTask(URLSessionConfiguration configuration, URLRequest request,
                       CompletionHandler handler);

    URLSessionConfiguration configuration_;
    URLRequest request_;
    CompletionHandler handler_;
};

/// Loads https URLs. Redirects are followed, at most 20 and to https only; "POST" becomes "GET" on
/// 301, 302 and 303 and stays on 307 and 308; "Authorization" is never sent to another host.
/// Compressed answers are decoded. An answer of more than 16 MiB, decoded, is a transport error.
/// The server's certificate is checked against the system's trust store, always.
///
/// Proxies are those that the environment's variables name as they do for the transport library, or
/// else those of the desktop's settings (see ProxyResolver.h), asked for anew for each server on
/// the way. Of several proxies the next is tried when one cannot be reached before the request was
/// sent. What no_proxy or NO_PROXY names is reached directly in either case. Errors never hold a
/// proxy's credentials.
class URLSession {
public:
    /// Begins to make ready, in the background, what every request needs, so that the first one is
    /// on its way sooner. Returns at once.
    static void prepare();

    static URLSession sessionWithConfiguration(URLSessionConfiguration configuration);

    URLSessionDataTask
    dataTaskWithRequest(URLRequest request,
                        URLSessionDataTask::CompletionHandler completionHandler) const;

private:
    explicit URLSession(URLSessionConfiguration configuration) : configuration_(configuration) {}

    URLSessionConfiguration configuration_;
};

} // namespace platform
