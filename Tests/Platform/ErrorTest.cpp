#include "Platform/Error.h"

#include <gtest/gtest.h>

using platform::Error;

TEST(Error, DescribesDomainCodeAndUserInformation) {
    EXPECT_EQ(Error("com.example", 4097, "It failed").description(),
              "Error Domain=com.example Code=4097 \"It failed\" "
              "UserInfo={NSLocalizedDescription=It failed}");
}

TEST(Error, DescribesTheUnderlyingErrorToo) {
    const Error error("outer", 1, "Outer", Error("inner", 60, "Inner"));
    EXPECT_EQ(error.description(), "Error Domain=outer Code=1 \"Outer\" "
                                   "UserInfo={NSLocalizedDescription=Outer, "
                                   "NSUnderlyingError={Error Domain=inner Code=60 \"Inner\" "
                                   "UserInfo={NSLocalizedDescription=Inner}}}");
    ASSERT_NE(error.underlyingError(), nullptr);
    EXPECT_EQ(error.underlyingError()->code(), 60);
}

TEST(Error, HasNoUnderlyingErrorUnlessGiven) {
    EXPECT_EQ(Error("domain", 1, "text").underlyingError(), nullptr);
}
