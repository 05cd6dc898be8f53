// Every fault of the session bus, of a program that calls the application there and of one that has
// its name: what the caller gets, what is logged and what the application does. It leaves a table
// of all that.

#include "BusFault.h"
#include "FaultTable.h"

#include <gtest/gtest.h>

namespace {

[[maybe_unused]] const auto* const table = testing::AddGlobalTestEnvironment(new FaultTable("bus"));

[[maybe_unused]] const auto* const coreApplication =
    testing::AddGlobalTestEnvironment(new CoreApplication);

class BusFaultTest : public testing::TestWithParam<BusFault> {};

} // namespace

TEST_P(BusFaultTest, EndsNothingAndLosesNothing) {
    const BusFault& fault = GetParam();
    FaultRow row(fault.name, fault.operation);
    BusScene scene(fault.services);
    const BusOutcome outcome = fault.meet(scene);
    row.setOutcome(testing::PrintToString(outcome));
    EXPECT_EQ(outcome, fault.expected);
}

INSTANTIATE_TEST_SUITE_P(All, BusFaultTest, testing::ValuesIn(BusFault::all()));
