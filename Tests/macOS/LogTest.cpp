#include "Platform/Log.h"

#include "LogUnderTest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

TEST(SystemLog, TakesEachLineAsText) {
    LogUnderTest log;
    platform::NSLog("A value: %@", {"100 %@ %s\n\xff"});
    EXPECT_THAT(log.lines(), testing::ElementsAre("A value: 100 %@ %s\\n\\xff"));
}
