#pragma once

#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

struct sd_bus;
struct sd_bus_message;

/// Another program that has the application's name on the session bus, as long as this lives.
/// Throws std::runtime_error when it does not get the name.
class NameOwner {
public:
    /// What it does with a call to the application's interface.
    enum class Manner {
        Answers,
        AnswersWithAnError,
        SaysThatItIsEnding, ///< and does not
        GoesAway,           ///< instead of an answer
        IsSilent,
        HasNoSuchObject
    };

    explicit NameOwner(Manner manner);
    NameOwner(const NameOwner&) = delete;
    NameOwner& operator=(const NameOwner&) = delete;
    ~NameOwner();

    /// The latest call, "Open test:one" or "Activate", and how many there were if it is one of
    /// many.
    std::string calls();

private:
    void serve();
    bool handle(sd_bus_message* call);
    void takeDown(sd_bus_message* call);

    Manner manner_;
    sd_bus* bus_ = nullptr;
    std::mutex mutex_;
    std::vector<std::string> calls_;
    std::atomic<bool> ends_ = false;
    std::jthread thread_;
};
