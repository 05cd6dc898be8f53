#pragma once

#include "Support/SetVariable.h"
#include "Support/WaitUntil.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QEventLoop>
#include <QTimer>
#include <array>
#include <chrono>
#include <functional>
#include <optional>
#include <string>

/// An application without a screen, for the whole of a test program.
class OffscreenApplication : public testing::Environment {
public:
    void SetUp() override {
        QGuiApplication::setApplicationDisplayName("Ardentra Registration");
        QGuiApplication::setQuitOnLastWindowClosed(false);
        application_.emplace(argumentCount_, arguments_.data());
    }
    void TearDown() override { application_.reset(); }

private:
    SetVariable platform_{"QT_QPA_PLATFORM", "offscreen"};
    int argumentCount_ = 1;
    std::string name_ = "Tests";
    std::array<char*, 2> arguments_ = {name_.data(), nullptr};
    std::optional<QApplication> application_;
};

/// Runs the application until the condition holds. False when it does not in time.
inline bool runUntil(const std::function<bool()>& condition) {
    QTimer poll;
    poll.start(1);
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!condition() && std::chrono::steady_clock::now() < deadline) {
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
        // Outside of an event loop these wait for one.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    return condition();
}
