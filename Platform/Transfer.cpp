#include "Platform/Transfer.h"

#include "Platform/Dispatch.h"
#include "Platform/ProxyResolver.h"
#include "Platform/RedirectedRequest.h"
#include "Platform/TransferError.h"
#include "Platform/TrustStore.h"

#include <curl/curl.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

namespace platform {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t largestAnswer = std::size_t{16} * 1024 * 1024;

// For the connection through a proxy that has others behind it.
constexpr std::chrono::milliseconds timeForOneOfSeveralProxies{10'000};

struct EasyCleanup {
    void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
};
struct MultiCleanup {
    void operator()(CURLM* handle) const { curl_multi_cleanup(handle); }
};
struct ListCleanup {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};

bool hasHeader(const std::vector<URLRequest::Header>& headers, const char* name) {
    return std::ranges::any_of(headers, [&](const URLRequest::Header& header) {
        return curl_strequal(header.first.c_str(), name) != 0;
    });
}

bool isFailureToConnect(CURLcode code) {
    return code == CURLE_COULDNT_RESOLVE_PROXY || code == CURLE_COULDNT_RESOLVE_HOST ||
           code == CURLE_COULDNT_CONNECT || code == CURLE_OPERATION_TIMEDOUT || code == CURLE_PROXY;
}

} // namespace

class Transfer::Implementation {
public:
    Implementation(const URLSessionConfiguration& configuration, const URLRequest& request)
        : configuration_(configuration), request_(request) {
        setTransport();
        setTrust(store_.file);
        setCallbacks();
    }

    TransferResult run(const std::stop_token& stop) {
        for (;;) {
            setRequest();
            if (const CURLcode code = load(stop); code != CURLE_OK)
                return failure(code);
            const char* redirect = nullptr;
            curl_easy_getinfo(easy_.get(), CURLINFO_REDIRECT_URL, &redirect);
            if (redirect == nullptr)
                return {std::move(body_), std::nullopt};
            long status = 0;
            curl_easy_getinfo(easy_.get(), CURLINFO_RESPONSE_CODE, &status);
            if (!request_.follow(status, redirect))
                return failure(CURLE_TOO_MANY_REDIRECTS);
        }
    }

private:
    template <typename Value>
    void set(CURLoption option, Value value) {
        if (setup_ == CURLE_OK)
            setup_ = curl_easy_setopt(easy_.get(), option, value);
    }

    void setTransport() {
        set(CURLOPT_NOSIGNAL, 1L);
        // A name look-up that hangs must not hold up the end of the process.
        set(CURLOPT_QUICK_EXIT, 1L);
        setTimeToConnect(configuration_.timeoutIntervalForRequest);
        set(CURLOPT_PROTOCOLS_STR, "https");
        // Each server may have proxies of its own.
        set(CURLOPT_FOLLOWLOCATION, 0L);
        // The strongest way that the proxy offers, which takes one more question.
        set(CURLOPT_PROXYAUTH, CURLAUTH_ANY);
        set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
        set(CURLOPT_ACCEPT_ENCODING, "");
        set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_2TLS));
        set(CURLOPT_ERRORBUFFER, errorText_.data());
    }

    void setTimeToConnect(std::chrono::milliseconds time) {
        set(CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(time.count()));
    }

    void setTrust(const std::optional<std::string>& file) {
        const char* const path = file ? file->c_str() : nullptr;
        const char* const folder = store_.directory ? store_.directory->c_str() : nullptr;
        set(CURLOPT_SSL_VERIFYPEER, 1L);
        set(CURLOPT_SSL_VERIFYHOST, 2L);
        set(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
        // A null takes away the library's own default.
        set(CURLOPT_CAINFO, path);
        set(CURLOPT_CAPATH, folder);
        set(CURLOPT_PROXY_SSL_VERIFYPEER, 1L);
        set(CURLOPT_PROXY_SSL_VERIFYHOST, 2L);
        set(CURLOPT_PROXY_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
        set(CURLOPT_PROXY_CAINFO, path);
        set(CURLOPT_PROXY_CAPATH, folder);
    }

    void setRequest() {
        set(CURLOPT_URL, request_.url().c_str());
        headers_.reset();
        if (request_.method() == "POST")
            setBody(*request_.body());
        else if (request_.method() == "GET")
            set(CURLOPT_HTTPGET, 1L);
        else
            set(CURLOPT_CUSTOMREQUEST, request_.method().c_str());
        for (const auto& [name, value] : request_.headers())
            addHeader(std::string(name).append(value.empty() ? ";" : ": ").append(value));
        set(CURLOPT_HTTPHEADER, headers_.get());
    }

    void setBody(const Data& body) {
        set(CURLOPT_POST, 1L);
        set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
        set(CURLOPT_POSTFIELDS, body.empty() ? "" : reinterpret_cast<const char*>(body.data()));
        // Without these two the library would add headers of its own to a POST.
        addHeader("Expect:");
        if (!hasHeader(request_.headers(), "Content-Type"))
            addHeader("Content-Type:");
    }

    void addHeader(const std::string& line) {
        curl_slist* const longer = curl_slist_append(headers_.get(), line.c_str());
        if (longer == nullptr) {
            setup_ = CURLE_OUT_OF_MEMORY;
            return;
        }
        static_cast<void>(headers_.release());
        headers_.reset(longer);
    }

    void setCallbacks() {
        set(CURLOPT_WRITEDATA, this);
        set(CURLOPT_WRITEFUNCTION, &Implementation::receiveBody);
        set(CURLOPT_HEADERDATA, this);
        set(CURLOPT_HEADERFUNCTION, &Implementation::receiveHeader);
        set(CURLOPT_PREREQDATA, this);
        set(CURLOPT_PREREQFUNCTION, &Implementation::connected);
    }

    static std::size_t receiveBody(char* bytes, std::size_t, std::size_t count, void* self) {
        return static_cast<Implementation*>(self)->append(bytes, count);
    }

    static std::size_t receiveHeader(char*, std::size_t, std::size_t count, void* self) {
        static_cast<Implementation*>(self)->lastActivity_ = Clock::now();
        return count;
    }

    static int connected(void* self, char*, char*, int, int) {
        static_cast<Implementation*>(self)->lastActivity_ = Clock::now();
        return CURL_PREREQFUNC_OK;
    }

    std::size_t append(const char* bytes, std::size_t count) {
        lastActivity_ = Clock::now();
        if (count > largestAnswer - body_.size()) {
            tooLarge_ = true;
            return 0;
        }
        const auto* const first = reinterpret_cast<const std::byte*>(bytes);
        body_.insert(body_.end(), first, first + count);
        return count;
    }

    /// Asks the server that the request has got to, through the proxies that it has.
    CURLcode load(const std::stop_token& stop) {
        const auto server = request_.server();
        const auto proxies = server ? proxiesForURL(*server, stop) : std::vector<std::string>();
        if (proxies.empty())
            return loadThrough(nullptr, configuration_.timeoutIntervalForRequest, stop);
        for (auto proxy = proxies.begin();; ++proxy) {
            const bool isLast = std::next(proxy) == proxies.end();
            const auto time = configuration_.timeoutIntervalForRequest;
            const CURLcode code =
                loadThrough(*proxy == "direct://" ? "" : proxy->c_str(),
                            isLast ? time : std::min(time, timeForOneOfSeveralProxies), stop);
            if (isLast || lastActivity_ || !isFailureToConnect(code))
                return code;
        }
    }

    /// A null leaves the choice of the proxy to the environment's variables.
    CURLcode loadThrough(const char* proxy, std::chrono::milliseconds timeToConnect,
                         const std::stop_token& stop) {
        set(CURLOPT_PROXY, proxy);
        setTimeToConnect(timeToConnect);
        const CURLcode code = attempt(stop);
        if (code != CURLE_PEER_FAILED_VERIFICATION || !store_.otherFile)
            return code;
        setTrust(std::exchange(store_.otherFile, std::nullopt));
        return attempt(stop);
    }

    CURLcode attempt(const std::stop_token& stop) {
        errorText_.front() = '\0';
        lastActivity_.reset();
        body_.clear();
        if (setup_ != CURLE_OK)
            return setup_;
        if (curl_multi_add_handle(multi_.get(), easy_.get()) != CURLM_OK)
            return CURLE_FAILED_INIT;
        const CURLcode code = perform(stop);
        curl_multi_remove_handle(multi_.get(), easy_.get());
        return code;
    }

    CURLcode perform(const std::stop_token& stop) {
        const std::stop_callback wake(stop, [this] { curl_multi_wakeup(multi_.get()); });
        for (int running = 1;;) {
            if (curl_multi_perform(multi_.get(), &running) != CURLM_OK)
                return CURLE_FAILED_INIT;
            if (running == 0)
                return outcome();
            if (stop.stop_requested())
                return CURLE_ABORTED_BY_CALLBACK;
            if (idleTimeLeft() <= std::chrono::milliseconds::zero())
                return CURLE_OPERATION_TIMEDOUT;
            curl_multi_poll(multi_.get(), nullptr, 0, static_cast<int>(idleTimeLeft().count()),
                            nullptr);
        }
    }

    CURLcode outcome() {
        int remaining = 0;
        const CURLMsg* const message = curl_multi_info_read(multi_.get(), &remaining);
        return message != nullptr ? message->data.result : CURLE_FAILED_INIT;
    }

    // Until the connection is made, its own time-out counts.
    std::chrono::milliseconds idleTimeLeft() const {
        if (!lastActivity_)
            return configuration_.timeoutIntervalForRequest;
        return std::chrono::ceil<std::chrono::milliseconds>(
            *lastActivity_ + configuration_.timeoutIntervalForRequest - Clock::now());
    }

    TransferResult failure(CURLcode code) const {
        return {std::nullopt, transferError(code, tooLarge_ ? "The answer is larger than 16 MiB"
                                                            : errorText_.data())};
    }

    const URLSessionConfiguration& configuration_;
    RedirectedRequest request_;
    TrustStore store_ = TrustStore::system();
    CURLcode setup_ = CURLE_OK;
    std::array<char, CURL_ERROR_SIZE> errorText_{};
    std::optional<Clock::time_point> lastActivity_;
    Data body_;
    bool tooLarge_ = false;
    std::unique_ptr<curl_slist, ListCleanup> headers_;
    std::unique_ptr<CURL, EasyCleanup> easy_{curl_easy_init()};
    std::unique_ptr<CURLM, MultiCleanup> multi_{curl_multi_init()};
};

void Transfer::prepareLibrary() {
    // The library tears parts of itself down at exit; no transfer may be under way by then, and
    // what is registered last runs first.
    [[maybe_unused]] static const bool prepared =
        curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK && std::atexit(endBackgroundTasks) == 0;
}

Transfer::Transfer(const URLSessionConfiguration& configuration, const URLRequest& request)
    : implementation_(std::make_unique<Implementation>(configuration, request)) {}

Transfer::~Transfer() = default;

TransferResult Transfer::run(const std::stop_token& stop) {
    return implementation_->run(stop);
}

} // namespace platform
