#include "CommandLine.h"

#include <charconv>
#include <functional>
#include <map>

constexpr std::uint16_t defaultPort = 8443;

const std::string_view helpText = R"(Usage: service-simulator [OPTION]...
A registration service over HTTPS to run Ardentra Registration against.

  --port N               listen on this port (8443; 0: any that is free)
  --address A            listen on this address (127.0.0.1)
  --host NAME            a host name for the certificate (localhost); repeatable
  --authority DIR        sign the certificate with the authority in this folder,
                         which is made if it is not there
  --make-authority DIR   make an authority in this folder, and nothing else
  --token T              take this token as registered; repeatable
  --server CODE=ADDRESS  list this registration server; repeatable
  --script FILE          give the answers that this file says
  --auto-sign-in         send the browser on from the sign-in page at once
  --help                 show this text

Prints "listening on https://HOST:PORT" when it is ready, then a line a request.
)";

namespace {

using Value = const std::string&;

std::uint16_t parsePort(Value text) {
    std::uint16_t port = 0;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), port);
    if (failure != std::errc() || end != text.data() + text.size()) {
        throw UsageError("--port needs a number from 0 to 65535, not \"" + text + "\"");
    }
    return port;
}

std::pair<std::string, std::string> parseServer(Value text) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos) {
        throw UsageError("--server needs CODE=ADDRESS, not \"" + text + "\"");
    }
    return {text.substr(0, equals), text.substr(equals + 1)};
}

using Setters = std::map<std::string_view, std::function<void(Value)>>;

Setters valueOptions(CommandLine& line, std::vector<std::string>& hostNames) {
    return {
        {"--port", [&](Value text) { line.options.port = parsePort(text); }},
        {"--address", [&](Value text) { line.options.address = text; }},
        {"--host", [&](Value text) { hostNames.push_back(text); }},
        {"--authority", [&](Value text) { line.authority = text; }},
        {"--make-authority", [&](Value text) { line.authorityToMake = text; }},
        {"--token", [&](Value text) { line.tokens.push_back(text); }},
        {"--server", [&](Value text) { line.servers.push_back(parseServer(text)); }},
        {"--script", [&](Value text) { line.script = text; }},
    };
}

} // namespace

CommandLine parseCommandLine(int count, char** arguments) {
    CommandLine line;
    line.options.port = defaultPort;
    std::vector<std::string> hostNames;
    const Setters setters = valueOptions(line, hostNames);
    for (int at = 1; at < count; ++at) {
        const std::string name = arguments[at];
        if (name == "--help") {
            line.wantsHelp = true;
        } else if (name == "--auto-sign-in") {
            line.options.autoSignIn = true;
        } else if (const auto setter = setters.find(name); setter == setters.end()) {
            throw UsageError("there is no option \"" + name + "\"; see --help");
        } else if (++at == count) {
            throw UsageError(name + " needs a value; see --help");
        } else {
            setter->second(arguments[at]);
        }
    }
    if (!hostNames.empty()) {
        line.options.hostNames = hostNames;
    }
    return line;
}
