#include "Platform/macOS/CoreFoundationObject.h"

#include "StandIns/Objects.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace platform;
using testing::Contains;
using testing::IsEmpty;
using namespace std::string_literals;

TEST(CoreFoundationObject, KeepsTextsOfEveryKind) {
    for (const std::string& text : {""s, "ASCII"s, "gr\xc3\xbcn"s, "\xf0\x9f\x96\xa8"s, "a\0b"s})
        EXPECT_EQ(platform::textOf(makeString(text).get()), text);
}

TEST(CoreFoundationObject, MakesNoStringOfBytesThatAreNoText) {
    EXPECT_EQ(makeString("\xff"), nullptr);
    EXPECT_EQ(makeString("\xed\xa0\x80"), nullptr);
}

TEST(CoreFoundationObject, HasNoTextWhereThereIsNone) {
    EXPECT_EQ(platform::textOf(nullptr), std::nullopt);
    EXPECT_EQ(platform::textOf(makeNumber(1).get()), std::nullopt);
    const Owned<CFStringRef> half(standins::makeStringWithoutUTF8());
    EXPECT_EQ(platform::textOf(half.get()), std::nullopt);
}

TEST(CoreFoundationObject, KeepsBytesOfEveryKind) {
    for (const Data& bytes : {Data(), encodeUTF8("\xff\0"s), Data(70000, std::byte{7})})
        EXPECT_EQ(bytesOf(makeData(bytes).get()), bytes);
    EXPECT_EQ(bytesOf(nullptr), std::nullopt);
    EXPECT_EQ(bytesOf(makeString("text").get()), std::nullopt);
}

// That the stand-ins see what they are there to see.

TEST(StandIns, CountWhatIsHeld) {
    const std::size_t before = standins::countHolds();
    Owned<CFStringRef> string = makeString("text");
    EXPECT_EQ(standins::countHolds(), before + 1);
    CFRetain(kCFBooleanTrue);
    EXPECT_EQ(standins::countHolds(), before + 2);
    CFRelease(kCFBooleanTrue);
    string.reset();
    EXPECT_EQ(standins::countHolds(), before);
}

TEST(StandIns, ComplainOfAReleaseTooMany) {
    CFStringRef string = makeString("text").release();
    CFRelease(string);
    EXPECT_THAT(standins::takeComplaints(), IsEmpty());
    CFRelease(string);
    EXPECT_THAT(standins::takeComplaints(), Contains("an object was used that is gone"));
    CFRelease(kCFBooleanTrue);
    EXPECT_THAT(standins::takeComplaints(),
                Contains("an object of the system's own was released that was not held"));
}
