#pragma once

#include "Platform/RunningApplication.h"

#include <ostream>
#include <string>

/// What came of a fault of the session bus, or of a call that comes from there.
struct BusOutcome {
    std::string answer; ///< what the caller gets: "an answer", the name of an error, "status 1"
    std::string line;   ///< in the log, lines after the first behind a "|"; empty for none
    std::string after;  ///< what the application did, or does

    bool operator==(const BusOutcome&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const BusOutcome& outcome);

/// What the faults of the session bus take place in.
class BusScene : public ApplicationSession {
public:
    explicit BusScene(const PrivateSession::Services& services) : ApplicationSession(services) {}

    using ApplicationSession::arrivedURLs;
    using ApplicationSession::arrives;
    using ApplicationSession::startFirst;

    PrivateSession& session() { return session_; }
    const Bus& bus() const { return bus_; }

    /// Without a pending registration the first URL brings up an alert, behind which the next
    /// waits.
    void letNoRegistrationBePending() { VTTokenStore::clearEphemeralCode(); }
    void letARegistrationBePending() {
        VTTokenStore::setEphemeralCode("ephemeral", "directory.ardentra.example");
    }

    /// The lines in the log, each cut where it gets long, without those of the server's answers to
    /// URLs. With or without those of the URLs themselves.
    std::string lines();
    std::string linesOfNoURL();

    /// "goes on" for an application that answers, otherwise how it is.
    std::string stateOf(ChildProcess& application) const;

    /// "ends in order" for an application that does so when it is asked to, otherwise how it is.
    static std::string endOf(ChildProcess& application);

private:
    std::string linesWithout(std::string_view beginning);
};

/// What the caller of a method gets, in words.
std::string wordsOfAnswer(const QDBusMessage& answer);
