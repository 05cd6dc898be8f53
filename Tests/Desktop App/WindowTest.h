#pragma once

#include "Platform/Data.h"
#include "Simulator.h"
#include "Support/LogCapture.h"
#include "Support/PrivateSession.h"
#include "VTRegistrationController.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QMessageBox>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// A desktop session with a keyring and a default browser that notes what it is to open, and in it
/// an application without a screen. One for the whole test program.
class WindowSession : public testing::Environment {
public:
    static WindowSession& shared();

    void SetUp() override;
    void TearDown() override;

    PrivateSession& session() { return *session_; }

    /// What the browser was asked to open, one after the other.
    std::vector<std::string> openedURLs() const;
    void forgetOpenedURLs() const;

private:
    void installBrowser() const;

    std::optional<PrivateSession> session_;
    std::vector<std::unique_ptr<SetVariable>> variables_;
    std::unique_ptr<QApplication> application_;
};

/// Runs the application until the condition holds. False when it does not in time.
bool runUntil(const std::function<bool()>& condition);

/// Tests of windows: a real session, a real service that is the directory server and every
/// registration server, an empty credential store.
class WindowTest : public testing::Test {
protected:
    static constexpr const char* listingPath = "/api/mobile/v2/registration_servers";
    static constexpr const char* loginPath = "/api/desktop/v2/login";

    WindowTest();
    ~WindowTest() override;

    /// The next answer to a request for a login URL: this code, and a URL that ends in it.
    static simulator::Answer loginAnswer(const std::string& code);
    static std::string loginURL(const std::string& code);

    /// The targets of the requests to that path.
    std::vector<std::string> requestsTo(const std::string& path) const;

    /// The code that is stored, "@" and its server; empty when none is.
    static std::string storedCode();

    /// Runs the application until the browser was asked to open that many pages. Every test that
    /// signs in waits for it, so that no page comes up in the next test.
    static bool browserOpened(std::size_t count);

    /// The sheet that is open; null when none is.
    static QMessageBox* openSheet();

    /// The text, the informative text and the titles of the buttons.
    static std::vector<std::string> textsOf(const QMessageBox& sheet);

    /// Answers the open sheet with its only button, and waits until it is gone.
    static void dismissSheet();

    simulator::Simulator simulator_;
    LogCapture log_;
};
