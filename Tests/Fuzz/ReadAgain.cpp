// Reads inputs again, one after the other: PROGRAM FOLDER.

#include "Fuzz.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

int main(int argc, char** argv) {
    if (argc != 2)
        return EXIT_FAILURE;
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
        std::ifstream file(entry.path(), std::ios::binary);
        const std::string input{std::istreambuf_iterator<char>(file), {}};
        std::printf("%s\n", entry.path().filename().c_str());
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
        ++count;
    }
    return count > 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
