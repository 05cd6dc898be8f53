#include "KeyringPrompts.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

PrivateSession::Services KeyringPrompts::services() {
    return {{"org.gnome.keyring.SystemPrompter", "/usr/libexec/gcr-prompter"}};
}

void KeyringPrompts::answerDuring(const std::function<void()>& operation,
                                  const std::function<void()>& answer) {
    std::atomic<bool> ended = false;
    bool prompted = false;
    std::thread user([&] {
        while (!ended) {
            if (display_.showsWindow(KeyringProgram::underTest().promptWindow())) {
                prompted = true;
                answer();
            }
        }
    });
    operation();
    ended = true;
    user.join();
    EXPECT_TRUE(prompted);
}

void KeyringPrompts::typePassword() const {
    display_.pressKey("ctrl+a");
    display_.typeText(PrivateSession::keyringPassword);
    display_.pressKey("Return");
}
