// Looks after every test of a program that runs on the stand-ins: it must have released what it
// held, no more and no less, and done nothing else that they complain of.

#include "Objects.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

class Witness : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo&) override { holdsBefore_ = standins::countHolds(); }

    void OnTestEnd(const testing::TestInfo&) override {
        EXPECT_EQ(standins::countHolds(), holdsBefore_) << "objects were not released";
        EXPECT_THAT(standins::takeComplaints(), testing::IsEmpty());
    }

    std::size_t holdsBefore_ = 0;
};

/// Owned by the test framework.
const bool listens = [] {
    testing::UnitTest::GetInstance()->listeners().Append(new Witness);
    return true;
}();

} // namespace
