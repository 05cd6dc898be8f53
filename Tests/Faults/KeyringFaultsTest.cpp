// Every fault of the user's keyring or on the way to it, for each operation of the credential store
// and for the upload-URL command: what is answered, what is logged, and what the keyring holds when
// it is started anew. It leaves a table of all that.

#include "FaultTable.h"
#include "KeyringFault.h"

#include <gtest/gtest.h>

namespace {

[[maybe_unused]] const auto* const table =
    testing::AddGlobalTestEnvironment(new FaultTable("keyring"));

class KeyringFaultTest : public testing::TestWithParam<KeyringFault> {};

} // namespace

TEST_P(KeyringFaultTest, IsAnsweredAndLoggedAndLosesNothing) {
    const KeyringFault& fault = GetParam();
    FaultRow row(fault.name, fault.operation->name);
    KeyringScene scene(*fault.operation, fault.form);
    StoreOutcome outcome;
    fault.meet(scene, [&] { outcome.answer = fault.operation->perform(); });
    outcome.line = scene.lines();
    outcome.kept = scene.keptItems();
    row.setOutcome(testing::PrintToString(outcome));
    EXPECT_EQ(outcome, fault.expected);
}

INSTANTIATE_TEST_SUITE_P(All, KeyringFaultTest, testing::ValuesIn(KeyringFault::all()));
