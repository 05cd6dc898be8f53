// A registration service of our own, to run the application against. See README.md.

#include "CommandLine.h"
#include "Simulator.h"

#include <csignal>
#include <exception>
#include <fstream>
#include <iostream>
#include <iterator>

namespace {

simulator::Authority authorityOf(const CommandLine& commandLine) {
    if (!commandLine.authority) {
        return simulator::Authority::make();
    }
    if (simulator::Authority::isSavedIn(*commandLine.authority)) {
        return simulator::Authority::load(*commandLine.authority);
    }
    simulator::Authority authority = simulator::Authority::make();
    authority.save(*commandLine.authority);
    return authority;
}

simulator::Script scriptOf(const CommandLine& commandLine) {
    if (!commandLine.script) {
        return {};
    }
    std::ifstream file(*commandLine.script, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (!file) {
        throw std::runtime_error("cannot read " + commandLine.script->string());
    }
    return simulator::Script::parse(text);
}

void logRequest(const simulator::RecordedRequest& request, const simulator::Answer& answer) {
    std::string line = request.method + " " + request.target + " " + std::to_string(answer.status);
    if (answer.wire != simulator::Wire::Whole) {
        line.append(" ").append(simulator::nameOf(answer.wire));
    }
    // One insertion a line: the lines of two connections must not mix.
    std::cout << line + "\n" << std::flush;
}

sigset_t blockEndSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    return signals;
}

void run(CommandLine commandLine) {
    // Before any thread starts, which then inherits it: the signals wait for sigwait().
    const sigset_t endSignals = blockEndSignals();
    const simulator::Script script = scriptOf(commandLine);
    commandLine.options.observer = logRequest;
    simulator::Simulator simulator(authorityOf(commandLine), commandLine.options);
    for (const std::string& token : commandLine.tokens) {
        simulator.acceptToken(token);
    }
    if (!commandLine.servers.empty()) {
        simulator.setServers(commandLine.servers);
    }
    simulator.follow(script);
    std::cout << "listening on https://" + simulator.server() + "\n" << std::flush;
    int received = 0;
    sigwait(&endSignals, &received);
}

} // namespace

int main(int count, char** arguments) {
    try {
        const CommandLine commandLine = parseCommandLine(count, arguments);
        if (commandLine.wantsHelp) {
            std::cout << helpText;
        } else if (commandLine.authorityToMake) {
            simulator::Authority::make().save(*commandLine.authorityToMake);
        } else {
            run(commandLine);
        }
        return 0;
    } catch (const UsageError& error) {
        std::cerr << "service-simulator: " << error.what() << '\n';
        return 2;
    } catch (const std::exception& error) {
        std::cerr << "service-simulator: " << error.what() << '\n';
        return 1;
    }
}
