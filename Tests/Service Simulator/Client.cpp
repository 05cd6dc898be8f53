#include "Client.h"

#include <array>

namespace {

using List = std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)>;

struct Received {
    Outcome& outcome;
    std::size_t mostBytes;
};

std::size_t receiveBody(char* data, std::size_t size, std::size_t count, void* context) {
    const Received& received = *static_cast<Received*>(context);
    received.outcome.body.append(data, size * count);
    return received.outcome.body.size() > received.mostBytes ? 0 : size * count;
}

std::size_t receiveHeader(char* data, std::size_t size, std::size_t count, void* context) {
    static_cast<Received*>(context)->outcome.headers.append(data, size * count);
    return size * count;
}

List listOf(const std::vector<std::string>& texts) {
    List list(nullptr, &curl_slist_free_all);
    for (const std::string& text : texts) {
        list.reset(curl_slist_append(list.release(), text.c_str()));
    }
    return list;
}

void describe(CURL* handle, const Call& call) {
    curl_easy_setopt(handle, CURLOPT_CUSTOMREQUEST, call.method.c_str());
    curl_easy_setopt(handle, CURLOPT_URL, call.url.c_str());
    curl_easy_setopt(handle, CURLOPT_TIMEOUT_MS, static_cast<long>(call.timeout.count()));
    curl_easy_setopt(handle, CURLOPT_ACCEPT_ENCODING, call.decodes ? "" : nullptr);
    if (call.body) {
        curl_easy_setopt(handle, CURLOPT_POSTFIELDSIZE_LARGE,
                         static_cast<curl_off_t>(call.body->size()));
        curl_easy_setopt(handle, CURLOPT_POSTFIELDS, call.body->c_str());
    } else {
        curl_easy_setopt(handle, CURLOPT_HTTPGET, 1L);
    }
}

} // namespace

std::optional<std::string> Outcome::header(const std::string& name) const {
    const std::string start = "\r\n" + name + ": ";
    const std::size_t at = headers.find(start);
    if (at == std::string::npos) {
        return std::nullopt;
    }
    const std::size_t from = at + start.size();
    return headers.substr(from, headers.find("\r\n", from) - from);
}

Client::Client() : handle_(curl_easy_init(), &curl_easy_cleanup) {
    curl_easy_setopt(handle_.get(), CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(handle_.get(), CURLOPT_PROXY, "");
    curl_easy_setopt(handle_.get(), CURLOPT_WRITEFUNCTION, &receiveBody);
    curl_easy_setopt(handle_.get(), CURLOPT_HEADERFUNCTION, &receiveHeader);
}

Client::Client(const simulator::Authority& authority) : Client() {
    std::string certificate = authority.certificate();
    curl_blob blob{certificate.data(), certificate.size(), CURL_BLOB_COPY};
    curl_easy_setopt(handle_.get(), CURLOPT_CAINFO_BLOB, &blob);
    curl_easy_setopt(handle_.get(), CURLOPT_CAPATH, nullptr);
}

Client::Client(const std::string& trustFolder) : Client() {
    curl_easy_setopt(handle_.get(), CURLOPT_CAINFO, nullptr);
    curl_easy_setopt(handle_.get(), CURLOPT_CAPATH, trustFolder.c_str());
}

Outcome Client::perform(const Call& call) {
    Outcome outcome;
    Received received{outcome, call.mostBytes};
    std::array<char, CURL_ERROR_SIZE> error{};
    const List headers = listOf(call.headers);
    CURL* const handle = handle_.get();
    describe(handle, call);
    curl_easy_setopt(handle, CURLOPT_HTTPHEADER, headers.get());
    curl_easy_setopt(handle, CURLOPT_ERRORBUFFER, error.data());
    curl_easy_setopt(handle, CURLOPT_WRITEDATA, &received);
    curl_easy_setopt(handle, CURLOPT_HEADERDATA, &received);
    outcome.code = curl_easy_perform(handle);
    outcome.error = error.data();
    curl_easy_setopt(handle, CURLOPT_ERRORBUFFER, nullptr);
    curl_easy_getinfo(handle, CURLINFO_RESPONSE_CODE, &outcome.status);
    curl_easy_getinfo(handle, CURLINFO_SSL_VERIFYRESULT, &outcome.verifyResult);
    curl_easy_getinfo(handle, CURLINFO_NUM_CONNECTS, &outcome.connections);
    return outcome;
}
