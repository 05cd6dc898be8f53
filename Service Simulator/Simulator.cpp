#include "Simulator.h"

#include "Control.h"
#include "HTTPServer.h"
#include "Service.h"
#include "TLSContext.h"

#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <optional>

namespace simulator {

namespace {

constexpr std::string_view controlPrefix = "/simulator/";

} // namespace

struct Simulator::State {
    State(Simulator& simulator, const Authority& authority, Options options)
        : owner(simulator), settings(std::move(options)), context(authority, settings.hostNames),
          service(settings.autoSignIn) {}

    void listen() {
        server.emplace(context.get(), settings.address, settings.port,
                       [this](const RecordedRequest& request) { return answerTo(request); });
    }

    Answer answerTo(const RecordedRequest& request);
    std::optional<Answer> recordAndTakeScripted(const RecordedRequest& request);

    Simulator& owner;
    const Options settings;
    TLSContext context;
    Service service;

    std::mutex mutex; // guards the requests and the answers
    std::condition_variable recorded;
    std::vector<RecordedRequest> requests;
    std::map<std::string, Answer> standing;            // by path
    std::map<std::string, std::deque<Answer>> oneTime; // by path

    std::optional<HTTPServer> server; // its threads use all of the above
};

Answer Simulator::State::answerTo(const RecordedRequest& request) {
    if (request.target.starts_with(controlPrefix)) {
        return answerControl(request, owner);
    }
    const std::optional<Answer> scripted = recordAndTakeScripted(request);
    Answer answer = scripted ? *scripted : service.answer(request);
    if (settings.observer) {
        settings.observer(request, answer);
    }
    return answer;
}

/// In one step, so that an answer which is set once the request has been seen is for the next one.
std::optional<Answer> Simulator::State::recordAndTakeScripted(const RecordedRequest& request) {
    const std::lock_guard lock(mutex);
    requests.push_back(request);
    recorded.notify_all();
    const std::string path = request.path();
    if (const auto queue = oneTime.find(path); queue != oneTime.end() && !queue->second.empty()) {
        Answer answer = std::move(queue->second.front());
        queue->second.pop_front();
        return answer;
    }
    const auto found = standing.find(path);
    return found == standing.end() ? std::nullopt : std::optional(found->second);
}

Simulator::Simulator(const Authority& authority) : Simulator(authority, Options()) {}

Simulator::Simulator(const Authority& authority, Options options)
    : state_(std::make_unique<State>(*this, authority, std::move(options))) {
    // Only now: a request may come at once, and its thread looks for the state here.
    state_->listen();
}

Simulator::~Simulator() {
    state_->server.reset();
}

std::uint16_t Simulator::port() const {
    return state_->server->port();
}

std::string Simulator::server() const {
    return state_->settings.hostNames.at(0) + ":" + std::to_string(port());
}

std::vector<RecordedRequest> Simulator::requests() const {
    const std::lock_guard lock(state_->mutex);
    return state_->requests;
}

void Simulator::forgetRequests() {
    const std::lock_guard lock(state_->mutex);
    state_->requests.clear();
}

bool Simulator::waitForRequests(std::size_t count, std::chrono::milliseconds limit) const {
    std::unique_lock lock(state_->mutex);
    return state_->recorded.wait_for(lock, limit, [&] { return state_->requests.size() >= count; });
}

void Simulator::answer(const std::string& path, Answer answer) {
    const std::lock_guard lock(state_->mutex);
    state_->standing[path] = std::move(answer);
}

void Simulator::answerOnce(const std::string& path, Answer answer) {
    const std::lock_guard lock(state_->mutex);
    state_->oneTime[path].push_back(std::move(answer));
}

void Simulator::answerNormally() {
    const std::lock_guard lock(state_->mutex);
    state_->standing.clear();
    state_->oneTime.clear();
}

void Simulator::presentCertificate(Certificate certificate) {
    state_->context.present(certificate);
}

void Simulator::follow(const Script& script) {
    answerNormally();
    presentCertificate(script.certificate);
    for (const auto& [path, scriptedAnswer, once] : script.answers) {
        once ? answerOnce(path, scriptedAnswer) : answer(path, scriptedAnswer);
    }
}

void Simulator::acceptToken(const std::string& token) {
    state_->service.acceptToken(token);
}

void Simulator::setServers(std::vector<std::pair<std::string, std::string>> servers) {
    state_->service.setServers(std::move(servers));
}

} // namespace simulator
