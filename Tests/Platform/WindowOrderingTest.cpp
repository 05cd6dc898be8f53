#include "Platform/WindowOrdering.h"

#include "OffscreenApplication.h"

#include <gtest/gtest.h>

#include <QScreen>
#include <QWidget>

using namespace platform;

namespace {

QRect screen() {
    return QGuiApplication::primaryScreen()->availableGeometry();
}

/// A window of that size on the screen.
class WindowOrderingTest : public testing::Test {
protected:
    WindowOrderingTest() {
        window_.resize(200, 100);
        makeKeyAndOrderFront(&window_);
    }

    void constrain() { constrainFrameToScreen(&window_); }

    QWidget window_;
};

} // namespace

TEST_F(WindowOrderingTest, ShowsAWindowWhereItWasBefore) {
    for (auto* const orderIn : {makeKeyAndOrderFront, orderFront}) {
        window_.move(123, 45);
        orderOut(&window_);
        EXPECT_FALSE(window_.isVisible());
        // As a window manager does with a window that comes up.
        window_.move(7, 7);
        orderIn(&window_);
        EXPECT_TRUE(window_.isVisible());
        EXPECT_EQ(window_.pos(), QPoint(123, 45));
    }
}

TEST_F(WindowOrderingTest, LeavesAWindowThatShowsWhereItIs) {
    window_.move(123, 45);
    orderOut(&window_);
    makeKeyAndOrderFront(&window_);
    window_.move(50, 60);
    makeKeyAndOrderFront(&window_);
    orderFront(&window_);
    EXPECT_EQ(window_.pos(), QPoint(50, 60));
}

TEST_F(WindowOrderingTest, KeepsTheFirstOfTwoPlacesOfAWindowThatIsTakenAwayTwice) {
    window_.move(123, 45);
    orderOut(&window_);
    window_.move(7, 7);
    orderOut(&window_);
    makeKeyAndOrderFront(&window_);
    EXPECT_EQ(window_.pos(), QPoint(123, 45));
}

TEST_F(WindowOrderingTest, MovesAWindowOntoItsScreen) {
    window_.move(screen().right() - 50, screen().bottom() - 50);
    constrain();
    EXPECT_TRUE(screen().contains(window_.frameGeometry()));
    EXPECT_EQ(window_.frameGeometry().bottomRight(), screen().bottomRight());
    window_.move(-20, -20);
    constrain();
    EXPECT_EQ(window_.frameGeometry().topLeft(), screen().topLeft());
}

TEST_F(WindowOrderingTest, LeavesAWindowThatIsOnItsScreenWhereItIs) {
    window_.move(123, 45);
    constrain();
    EXPECT_EQ(window_.pos(), QPoint(123, 45));
}

TEST_F(WindowOrderingTest, KeepsTheTopOfAWindowThatIsTooLarge) {
    window_.resize(screen().width() + 100, screen().height() + 100);
    window_.move(30, 30);
    constrain();
    EXPECT_EQ(window_.frameGeometry().topLeft(), screen().topLeft());
}

TEST_F(WindowOrderingTest, DoesNothingWithoutAWindow) {
    makeKeyAndOrderFront(nullptr);
    orderFront(nullptr);
    orderOut(nullptr);
    constrainFrameToScreen(nullptr);
    EXPECT_TRUE(window_.isVisible());
}
