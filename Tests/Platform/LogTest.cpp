#include "Platform/Log.h"

#include "Support/LogCapture.h"

#include <gtest/gtest.h>

using platform::logLine;
using platform::NSLog;

TEST(Log, FillsEachPlaceholderInOrder) {
    EXPECT_EQ(logLine("%@: %@", {"first", "second"}), "first: second");
}

TEST(Log, NeverReadsAnArgumentAsAFormat) {
    EXPECT_EQ(logLine("%@ and %@", {"%@ %s %n", "b"}), "%@ %s %n and b");
}

TEST(Log, LeavesAPlaceholderWithoutArgument) {
    EXPECT_EQ(logLine("a %@", {}), "a %@");
}

TEST(Log, EscapesWhatWouldEndTheLine) {
    EXPECT_EQ(logLine("%@", {"one\ntwo\r\tthree\x1b[31m"}), "one\\ntwo\\x0d\\x09three\\x1b[31m");
    EXPECT_EQ(logLine("%@", {"a\xe2\x80\xa8"
                             "b\xc2\x85"
                             "c"}),
              "a\\xe2\\x80\\xa8b\\xc2\\x85c");
}

TEST(Log, EscapesBytesThatAreNotUTF8AndKeepsThoseThatAre) {
    EXPECT_EQ(logLine("%@", {"\xff gr\xc3\xbcn"}), "\\xff gr\xc3\xbcn");
    EXPECT_EQ(logLine("%@", {std::string("nul\0end", 7)}), "nul\\x00end");
}

TEST(Log, WritesTheSameLineToTheSystemLogAndToStandardError) {
    LogCapture log;
    testing::internal::CaptureStderr();
    NSLog("A value: %@", {"100 %s"});
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "ardentra-registration: A value: 100 %s\n");
    EXPECT_EQ(log.lines(), std::vector<std::string>{"A value: 100 %s"});
}

TEST(Log, CutsALineThatTheSystemLogWouldNotTake) {
    LogCapture log;
    testing::internal::CaptureStderr();
    const std::string beginning(32767, 'x');
    NSLog("%@", {beginning + "\xc3\xbc" + std::string(1 << 20, 'y')});
    EXPECT_EQ(testing::internal::GetCapturedStderr().size(),
              std::string("ardentra-registration: \n").size() + 32769 + (1 << 20));
    EXPECT_EQ(log.lines(), std::vector<std::string>{beginning + "..."});
}
