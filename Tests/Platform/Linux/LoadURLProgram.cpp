// load-url URL: loads the URL and prints the answer's body, or the code of the transport error.
// load-url URL FILE: begins to load the URL and ends as soon as there is such a file.

#include "LoadURL.h"
#include "Support/WaitUntil.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace {

int leaveWhenThereIs(const std::filesystem::path& file, const std::string& url) {
    platform::URLSession::sessionWithConfiguration({})
        .dataTaskWithRequest(
            platform::URLRequest::requestWithURL(*platform::URL::URLWithString(url)),
            [](const auto&, const auto&) { std::abort(); })
        .resume();
    return waitUntil([&] { return std::filesystem::exists(file); }) ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace

int main(int argc, char* argv[]) {
    if (argc == 3)
        return leaveWhenThereIs(argv[2], argv[1]);
    if (argc != 2)
        return EXIT_FAILURE;
    const Outcome outcome = load(std::string(argv[1]));
    std::puts(outcome.error ? std::to_string(outcome.code()).c_str() : outcome.text().c_str());
    return EXIT_SUCCESS;
}
