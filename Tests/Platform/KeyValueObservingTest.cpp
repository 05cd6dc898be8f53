#include "Platform/KeyValueObserving.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;

namespace {

class Observed : public platform::KeyValueObserving {
public:
    using KeyValueObserving::didChangeValueForKey;

protected:
    std::map<std::string, std::set<std::string>>
    keyPathsForValuesAffectingDerivedValues() const override {
        return {{"sum", {"first", "second"}}, {"double", {"first", "inert"}}};
    }
};

class KeyValueObservingTest : public testing::Test {
protected:
    void observe(const std::string& key) {
        observed_.addObserver([this, key] { told_.push_back(key); }, key);
    }

    Observed observed_;
    std::vector<std::string> told_;
};

} // namespace

TEST_F(KeyValueObservingTest, TellsTheObserversOfAKeyEachTime) {
    observe("first");
    observe("first");
    observe("second");
    observed_.didChangeValueForKey("first");
    EXPECT_THAT(told_, ElementsAre("first", "first"));
    observed_.didChangeValueForKey("second");
    observed_.didChangeValueForKey("second");
    EXPECT_EQ(told_.size(), 4U);
}

TEST_F(KeyValueObservingTest, TellsOfDerivedValuesAfterTheKey) {
    observe("sum");
    observe("double");
    observe("first");
    observe("second");
    observed_.didChangeValueForKey("first");
    EXPECT_THAT(told_, ElementsAre("first", "double", "sum"));
    told_.clear();
    observed_.didChangeValueForKey("second");
    EXPECT_THAT(told_, ElementsAre("second", "sum"));
}

TEST_F(KeyValueObservingTest, TakesAKeyThatNobodyObserves) {
    observe("first");
    observed_.didChangeValueForKey("second");
    EXPECT_THAT(told_, ElementsAre());
}

TEST_F(KeyValueObservingTest, LetsAnObserverAddAnother) {
    observed_.addObserver([this] { observe("first"); }, "first");
    observed_.didChangeValueForKey("first");
    EXPECT_THAT(told_, ElementsAre());
    observed_.didChangeValueForKey("first");
    EXPECT_THAT(told_, ElementsAre("first"));
}
