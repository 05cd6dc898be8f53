// How long a listing of 10,000 servers takes from the service's answer to the menu that shows it,
// and to parse the same JSON text alone.

#include "ServiceAnswers.h"
#include "VTRegistrationController.h"

#include <nlohmann/json.hpp>

#include <QApplication>
#include <algorithm>
#include <chrono>
#include <cstdio>

namespace {

using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr int serverCount = 10000;
constexpr int rounds = 9;

std::string answer() {
    nlohmann::ordered_json servers;
    for (int i = 0; i < serverCount; ++i) {
        // In the order of their names, so that nobody has to sort.
        const std::string number = std::to_string(serverCount + i);
        servers["Server " + number] = "s" + number + ".example";
    }
    return nlohmann::ordered_json{{"data", {{"servers", servers}}}}.dump();
}

void show(VTRegistrationController& controller, const platform::Data& body) {
    const auto take = [&](std::optional<VTRegistrationController::Servers> servers,
                          const std::optional<platform::Error>&) {
        controller.setServers(std::move(servers));
        controller.updateServerListingMenu();
    };
    judgeAnswer([&](const auto& json, const auto&) { judgeServerListing(take, json.value()); },
                body, std::nullopt);
    QApplication::processEvents();
}

class Times {
public:
    explicit Times(const char* name) : name_(name) {}

    template <typename Function>
    void add(Function function) {
        const auto start = std::chrono::steady_clock::now();
        function();
        sorted_.push_back(Milliseconds(std::chrono::steady_clock::now() - start).count());
        std::ranges::sort(sorted_);
    }

    double median() const { return sorted_[sorted_.size() / 2]; }

    void print() const {
        std::printf("  %-26s median %7.2f ms  (%.2f to %.2f)\n", name_, median(), sorted_.front(),
                    sorted_.back());
    }

private:
    const char* name_;
    std::vector<double> sorted_;
};

} // namespace

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    QComboBox popUp;
    popUp.show();
    const auto controller = std::make_shared<VTRegistrationController>();
    controller->setServerPopUp(&popUp);

    const std::string text = answer();
    const platform::Data body = platform::encodeUTF8(text);
    Times menu("answer to menu");
    Times parsing("parsing alone");
    for (int round = 0; round < rounds; ++round) {
        menu.add([&] { show(*controller, body); });
        parsing.add([&] { const nlohmann::json parsed = nlohmann::json::parse(text); });
    }
    menu.print();
    parsing.print();
    std::printf("listing of %d servers, answer to menu / parsing alone: %.2f (to reach: 5)\n",
                serverCount, menu.median() / parsing.median());
    return popUp.count() > serverCount ? 0 : 1;
}
