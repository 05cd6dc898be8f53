#pragma once

// What tests need that run the built windowed application on a real session bus. They define
// VT_PROGRAM, its path, and add a CoreApplication to their global environments.

#include "Simulator.h"
#include "Support/ChildProcess.h"
#include "Support/LogCapture.h"
#include "Support/PrivateSession.h"
#include "Support/WorldAuthority.h"
#include "VTTokenStore.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingReply>
#include <QVariantMap>
#include <algorithm>
#include <csignal>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The application's place on the session bus.
inline constexpr const char* applicationName = "com.norvale.tessor";
inline constexpr const char* applicationPath = "/com/norvale/tessor";
inline constexpr const char* applicationInterface = "org.freedesktop.Application";

/// The line in the log for a URL of an unknown scheme, before the URL: it shows that it arrived.
inline constexpr std::string_view refusalOfURL =
    "The supplied URL is not valid because the scheme is unknown: ";

using Arguments = std::vector<std::string>;

inline Program application(const Arguments& arguments = {}) {
    Program program{{VT_PROGRAM}, {{"QT_QPA_PLATFORM", "offscreen"}}};
    program.arguments.insert(program.arguments.end(), arguments.begin(), arguments.end());
    return program;
}

inline std::unique_ptr<ChildProcess> start(const Arguments& arguments = {}) {
    return std::make_unique<ChildProcess>(application(arguments));
}

/// A connection of the test's own to the bus of its session.
class Bus {
public:
    Bus()
        : connection_(QDBusConnection::connectToBus(
              qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"), "test")) {}
    Bus(const Bus&) = delete;
    Bus& operator=(const Bus&) = delete;
    ~Bus() { QDBusConnection::disconnectFromBus("test"); }

    /// The process that has the application's name, or 0.
    pid_t owner() const {
        const auto reply = connection_.interface()->servicePid(applicationName);
        return reply.isValid() ? static_cast<pid_t>(reply.value()) : 0;
    }

    const QDBusConnection& connection() const { return connection_; }

    QDBusMessage call(const QString& method, const QVariantList& arguments) const {
        return connection_.call(message(method, arguments));
    }

    /// Sends the call and does not wait for its answer.
    QDBusPendingCall send(const QString& method, const QVariantList& arguments) const {
        return connection_.asyncCall(message(method, arguments));
    }

private:
    static QDBusMessage message(const QString& method, const QVariantList& arguments) {
        QDBusMessage message = QDBusMessage::createMethodCall(applicationName, applicationPath,
                                                              applicationInterface, method);
        message.setArguments(arguments);
        return message;
    }

    QDBusConnection connection_;
};

/// A session to run the application in, with a keyring, a registration service and the log. A
/// registration is pending, so that every URL is looked at and leaves a trace.
class ApplicationSession {
public:
    ApplicationSession(const ApplicationSession&) = delete;
    ApplicationSession& operator=(const ApplicationSession&) = delete;

protected:
    explicit ApplicationSession(const PrivateSession::Services& services = {})
        : session_(PrivateSession::Keyring::unlocked, services),
          simulator_(worldAuthority(), {.port = 443, .hostNames = {"directory.ardentra.example"}}) {
        VTTokenStore::setEphemeralCode("ephemeral", "directory.ardentra.example");
    }

    ~ApplicationSession() = default;

    /// Starts an application and waits until it has the name and answers to it.
    std::unique_ptr<ChildProcess> startFirst(const Arguments& arguments = {}) {
        auto first = start(arguments);
        EXPECT_TRUE(waitUntil([&] { return bus_.owner() == first->processIdentifier(); }));
        EXPECT_EQ(bus_.call("Activate", {QVariantMap()}).type(), QDBusMessage::ReplyMessage);
        return first;
    }

    /// The URLs that have arrived, in their order.
    std::vector<std::string> arrivedURLs() {
        std::vector<std::string> urls;
        for (const std::string& line : log_.lines()) {
            if (line.starts_with(refusalOfURL))
                urls.push_back(line.substr(refusalOfURL.size()));
        }
        return urls;
    }

    bool arrives(const std::string& url) {
        return waitUntil([&] {
            const auto urls = arrivedURLs();
            return std::find(urls.begin(), urls.end(), url) != urls.end();
        });
    }

    static void endInOrder(ChildProcess& process) {
        process.sendSignal(SIGTERM);
        EXPECT_EQ(process.wait().exitStatus, 0);
    }

    PrivateSession session_;
    Bus bus_;
    LogCapture log_;
    simulator::Simulator simulator_;
};

/// What Qt asks for before its bus can be used; owned by the test framework.
class CoreApplication : public testing::Environment {
public:
    void SetUp() override { application_.emplace(argumentCount_, nullptr); }
    void TearDown() override { application_.reset(); }

private:
    int argumentCount_ = 0;
    std::optional<QCoreApplication> application_;
};
