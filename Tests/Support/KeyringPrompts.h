#pragma once

#include "PrivateSession.h"
#include "VirtualDisplay.h"

#include <functional>

/// A user in front of a display on which a keyring's prompts come up. To be made before the session
/// whose bus starts the prompter.
class KeyringPrompts {
public:
    /// What the session's bus has to be able to start.
    static PrivateSession::Services services();

    /// Runs the operation and does something whenever a prompt is to be seen meanwhile. Does it
    /// again and again as long as the prompt is there, because a key may come before the prompt
    /// takes any. A test failure when no prompt came up.
    void answerDuring(const std::function<void()>& operation, const std::function<void()>& answer);

    /// Ways to answer.
    void typePassword() const;
    void proceed() const { display_.pressKey("Return"); }
    void dismiss() const { display_.pressKey("Escape"); }

private:
    VirtualDisplay display_;
};
