#pragma once

#include "Platform/URLSession.h"

#include <future>
#include <memory>
#include <optional>
#include <string>
#include <thread>

/// What a request came to.
struct Outcome {
    std::optional<platform::Data> body;
    std::optional<platform::Error> error;
    std::thread::id thread;

    std::string text() const {
        return body ? platform::decodeUTF8(*body).value_or("not UTF-8") : "no body";
    }
    long code() const { return error ? error->code() : 0; }
    std::string words() const { return error ? error->localizedDescription() : ""; }
};

/// Makes the request and waits for what it comes to.
inline Outcome load(const platform::URLRequest& request,
                    platform::URLSessionConfiguration configuration = {}) {
    // Setting a promise twice throws, so a second call of the handler ends the test program.
    const auto outcome = std::make_shared<std::promise<Outcome>>();
    platform::URLSession::sessionWithConfiguration(configuration)
        .dataTaskWithRequest(
            request,
            [outcome](std::optional<platform::Data> body, std::optional<platform::Error> error) {
                outcome->set_value({std::move(body), std::move(error), std::this_thread::get_id()});
            })
        .resume();
    return outcome->get_future().get();
}

inline Outcome load(const std::string& url, platform::URLSessionConfiguration configuration = {}) {
    return load(platform::URLRequest::requestWithURL(*platform::URL::URLWithString(url)),
                configuration);
}
