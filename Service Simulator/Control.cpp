#include "Control.h"

#include <nlohmann/json.hpp>

namespace simulator {

namespace {

using JSON = nlohmann::ordered_json;

std::string toJSON(const std::vector<RecordedRequest>& requests) {
    JSON list = JSON::array();
    for (const RecordedRequest& request : requests) {
        JSON headers = JSON::array();
        for (const auto& [name, value] : request.headers) {
            headers.push_back(JSON::array({name, value}));
        }
        list.push_back({{"method", request.method},
                        {"target", request.target},
                        {"headers", headers},
                        {"body", request.body}});
    }
    return list.dump(2, ' ', false, JSON::error_handler_t::replace) + "\n";
}

Answer problem(int status, const std::string& message) {
    return {.status = status,
            .headers = {{"Content-Type", "text/plain; charset=utf-8"}},
            .body = message + "\n"};
}

Answer done() {
    return {.status = 204};
}

Answer follow(const std::string& json, Simulator& simulator) {
    try {
        simulator.follow(Script::parse(json));
        return done();
    } catch (const ScriptError& error) {
        return problem(400, error.what());
    }
}

} // namespace

Answer answerControl(const RecordedRequest& request, Simulator& simulator) {
    const std::string operation = request.method + " " + request.path();
    if (operation == "GET /simulator/requests") {
        return {.body = toJSON(simulator.requests())};
    }
    if (operation == "DELETE /simulator/requests") {
        simulator.forgetRequests();
        return done();
    }
    if (operation == "PUT /simulator/script") {
        return follow(request.body, simulator);
    }
    if (operation == "DELETE /simulator/script") {
        simulator.follow(Script());
        return done();
    }
    return problem(404, "There is no such operation of the simulator.");
}

} // namespace simulator
