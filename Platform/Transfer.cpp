#include "Platform/Transfer.h"

#include "Platform/Dispatch.h"
#include "Platform/TrustStore.h"

#include <curl/curl.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <string>

namespace platform {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t largestAnswer = std::size_t{16} * 1024 * 1024;
constexpr long mostRedirects = 20;

struct EasyCleanup {
    void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
};
struct MultiCleanup {
    void operator()(CURLM* handle) const { curl_multi_cleanup(handle); }
};
struct ListCleanup {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};

bool hasHeader(const URLRequest& request, const std::string& name) {
    return std::ranges::any_of(request.allHTTPHeaderFields(),
                               [&](const URLRequest::Header& header) {
                                   return curl_strequal(header.first.c_str(), name.c_str()) != 0;
                               });
}

} // namespace

class Transfer::Implementation {
public:
    Implementation(const URLSessionConfiguration& configuration, const URLRequest& request)
        : configuration_(configuration), request_(request) {
        setTransport();
        setTrust();
        setRequest();
        setCallbacks();
    }

    TransferResult run(const std::stop_token& stop) {
        if (setup_ != CURLE_OK)
            return failure(setup_);
        if (curl_multi_add_handle(multi_.get(), easy_.get()) != CURLM_OK)
            return failure(CURLE_FAILED_INIT);
        const CURLcode code = perform(stop);
        curl_multi_remove_handle(multi_.get(), easy_.get());
        if (code != CURLE_OK)
            return failure(code);
        return {std::move(body_), std::nullopt};
    }

private:
    template <typename Value>
    void set(CURLoption option, Value value) {
        if (setup_ == CURLE_OK)
            setup_ = curl_easy_setopt(easy_.get(), option, value);
    }

    void setTransport() {
        const auto timeout = static_cast<long>(configuration_.timeoutIntervalForRequest.count());
        set(CURLOPT_NOSIGNAL, 1L);
        // A name look-up that hangs must not hold up the end of the process.
        set(CURLOPT_QUICK_EXIT, 1L);
        set(CURLOPT_CONNECTTIMEOUT_MS, timeout);
        set(CURLOPT_PROTOCOLS_STR, "https");
        set(CURLOPT_REDIR_PROTOCOLS_STR, "https");
        set(CURLOPT_FOLLOWLOCATION, 1L);
        set(CURLOPT_MAXREDIRS, mostRedirects);
        set(CURLOPT_ACCEPT_ENCODING, "");
        set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_2TLS));
        set(CURLOPT_ERRORBUFFER, errorText_.data());
    }

    void setTrust() {
        const TrustStore store = TrustStore::system();
        set(CURLOPT_SSL_VERIFYPEER, 1L);
        set(CURLOPT_SSL_VERIFYHOST, 2L);
        set(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
        // A null takes away the library's own default.
        set(CURLOPT_CAINFO, store.file ? store.file->c_str() : nullptr);
        set(CURLOPT_CAPATH, store.directory ? store.directory->c_str() : nullptr);
    }

    void setRequest() {
        set(CURLOPT_URL, request_.URL().absoluteString().c_str());
        if (request_.HTTPMethod() == "POST")
            setBody();
        else if (request_.HTTPMethod() != "GET")
            set(CURLOPT_CUSTOMREQUEST, request_.HTTPMethod().c_str());
        for (const auto& [name, value] : request_.allHTTPHeaderFields())
            addHeader(std::string(name).append(value.empty() ? ";" : ": ").append(value));
        set(CURLOPT_HTTPHEADER, headers_.get());
    }

    void setBody() {
        const Data& body = request_.HTTPBody();
        set(CURLOPT_POST, 1L);
        set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
        set(CURLOPT_POSTFIELDS, body.empty() ? "" : reinterpret_cast<const char*>(body.data()));
        // Without these two the library would add headers of its own to a POST.
        addHeader("Expect:");
        if (!hasHeader(request_, "Content-Type"))
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
        std::string words = errorText_.data();
        if (tooLarge_)
            words = "The answer is larger than 16 MiB";
        else if (words.empty())
            words = curl_easy_strerror(code);
        return {std::nullopt, Error(URLErrorDomain, code, words)};
    }

    const URLSessionConfiguration& configuration_;
    const URLRequest& request_;
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
