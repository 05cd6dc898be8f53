#include "Platform/Linux/HelperProgram.h"

#include "Support/FileDescriptor.h"
#include "Support/TemporaryFolder.h"
#include "Support/WaitUntil.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <thread>

using namespace std::chrono_literals;
using platform::outputOfProgram;

namespace {

std::optional<std::string> outputOfShell(const std::string& script,
                                         std::chrono::milliseconds limit = patience,
                                         const std::stop_token& stop = {}) {
    return outputOfProgram({"/bin/sh", "-c", script}, limit, stop);
}

} // namespace

TEST(HelperProgram, YieldsAllThatTheProgramWrites) {
    EXPECT_EQ(outputOfShell("echo one; echo unseen >&2; echo two"), "one\ntwo\n");
    EXPECT_EQ(outputOfShell("head -c 200000 /dev/zero")->size(), 200000U);
    EXPECT_EQ(outputOfShell("cat"), "") << "its input is empty";
}

TEST(HelperProgram, YieldsNothingWhenThereIsNoSuchProgram) {
    EXPECT_EQ(outputOfProgram({"/nowhere"}, patience, {}), std::nullopt);
}

TEST(HelperProgram, GivesTheProgramNoOtherDescriptor) {
    const FileDescriptor open(::open("/dev/null", O_RDONLY)); // NOLINT: meant to be inherited
    EXPECT_EQ(
        outputOfShell("test -e /proc/self/fd/" + std::to_string(open.number()) + " || echo closed"),
        "closed\n");
}

TEST(HelperProgram, EndsAProgramThatTakesTooLong) {
    EXPECT_EQ(outputOfShell("echo begun; exec sleep 600", 50ms), std::nullopt);
}

TEST(HelperProgram, EndsTheProgramWhenAskedTo) {
    const TemporaryFolder folder;
    const auto begun = folder.path() / "begun";
    std::stop_source ending;
    std::thread stopper([&] {
        EXPECT_TRUE(waitUntil([&] { return std::filesystem::exists(begun); }));
        ending.request_stop();
    });
    EXPECT_EQ(
        outputOfShell("echo $$ > " + begun.string() + "; exec sleep 600", 600s, ending.get_token()),
        std::nullopt);
    stopper.join();
}
