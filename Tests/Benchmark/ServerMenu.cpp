// How long the pop-up takes to show a listing of 10,000 servers: the median of several rebuilds.

#include "VTRegistrationController.h"

#include <QApplication>
#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>

namespace {

using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr int serverCount = 10000;

VTRegistrationController::Servers listing() {
    VTRegistrationController::Servers servers;
    for (int i = 0; i < serverCount; ++i) {
        const std::string number = std::to_string(i);
        servers.push_back({{VTAPIRegistrationServerCodeKey, "Server " + number},
                           {VTAPIRegistrationServerAddressKey, "s" + number + ".example"}});
    }
    return servers;
}

} // namespace

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    QComboBox popUp;
    popUp.show();
    const auto controller = std::make_shared<VTRegistrationController>();
    controller->setServerPopUp(&popUp);
    controller->setServers(listing());

    std::array<double, 9> times{};
    for (double& time : times) {
        const auto start = std::chrono::steady_clock::now();
        controller->updateServerListingMenu();
        QApplication::processEvents();
        time = Milliseconds(std::chrono::steady_clock::now() - start).count();
    }
    std::ranges::sort(times);
    std::printf("menu of %d servers: median %.1f ms  (%.1f to %.1f)\n", serverCount,
                times[times.size() / 2], times.front(), times.back());
    return 0;
}
