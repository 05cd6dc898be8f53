#include "Platform/Linux/SecretService.h"
#include "Support/PrivateSession.h"
#include "VTTokenStore.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <random>
#include <thread>

using namespace platform;

namespace {

using Clock = std::chrono::steady_clock;

std::string server(int number) {
    return "host-" + std::to_string(number);
}
std::string account(int number) {
    return std::to_string(number) + "@example.org";
}

bool store(int number) {
    return VTTokenStore::setToken(encodeUTF8(std::to_string(number)), server(number),
                                  account(number));
}

/// Less than every record's number.
constexpr int noRecord = -1;

/// The number that the record was made of. A record made of parts of several is a failure.
int readNumber() {
    std::optional<Data> token;
    std::optional<std::string> storedServer;
    std::optional<std::string> storedAccount;
    EXPECT_TRUE(VTTokenStore::getToken(token, storedServer, storedAccount));
    if (!token)
        return noRecord;
    const int number = std::stoi(decodeUTF8(*token).value());
    EXPECT_EQ(storedServer, server(number));
    EXPECT_EQ(storedAccount, account(number));
    return number;
}

std::size_t numberOfItems() {
    std::unique_ptr<SecretService> service;
    SecretService::Matches matches;
    EXPECT_EQ(SecretService::connect(service), errSecSuccess);
    EXPECT_EQ(service->search({{"service", "Ardentra Registration"}}, matches), errSecSuccess);
    return matches.unlocked.size() + matches.locked.size();
}

/// A process that stores one record after the other for as long as it lives.
class Writer {
public:
    explicit Writer(int firstNumber) : process_(fork()) {
        for (int number = firstNumber; process_ == 0; ++number)
            store(number);
    }
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;
    ~Writer() {
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
    }

private:
    pid_t process_;
};

/// How long a writer takes until its first record is there.
std::chrono::microseconds timeOfTheFirstRecord() {
    EXPECT_TRUE(VTTokenStore::clearToken());
    const auto start = Clock::now();
    const Writer writer(0);
    EXPECT_TRUE(waitUntil([] { return readNumber() != noRecord; }));
    return std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start);
}

/// Moments at random, so that over many rounds every step of a write is hit: as many before a
/// writer's first record is there as after it, however fast the machine.
class RandomMoments {
public:
    RandomMoments() : microseconds_(0, 2 * timeOfTheFirstRecord().count()) {}

    Clock::time_point next() {
        return Clock::now() + std::chrono::microseconds(microseconds_(generator_));
    }

private:
    std::mt19937 generator_{std::random_device()()};
    std::uniform_int_distribution<std::int64_t> microseconds_;
};

/// Has a writer killed at a random moment while this process reads. The number that is there in the
/// end; never less than the one before.
int readWhileAWriterIsKilled(int firstNumber, int before, Clock::time_point moment) {
    {
        const Writer writer(firstNumber);
        do {
            const int number = readNumber();
            EXPECT_GE(number, before) << "the record was gone, or an older one came back";
            before = number;
        } while (Clock::now() < moment);
    }
    const int after = readNumber();
    EXPECT_GE(after, before);
    EXPECT_LE(numberOfItems(), 1U);
    return after;
}

} // namespace

TEST(TokenStoreCrash, LeavesAWholeRecordWhenTheWriterIsKilled) {
    constexpr int rounds = 200;
    constexpr int numbersOfARound = 1000;
    const PrivateSession session(PrivateSession::Keyring::unlocked);
    RandomMoments moments;
    int roundsWithAChange = 0;
    int number = noRecord;
    for (int round = 0; round < rounds && !HasFailure(); ++round) {
        if (round % 4 == 0) { // the first record of all is written otherwise than the next
            ASSERT_TRUE(VTTokenStore::clearToken());
            number = noRecord;
        }
        const int firstNumber = round * numbersOfARound;
        number = readWhileAWriterIsKilled(firstNumber, number, moments.next());
        roundsWithAChange += number >= firstNumber ? 1 : 0;
    }
    EXPECT_GT(roundsWithAChange, rounds / 20) << "hardly a writer lived long enough to write";
}

TEST(TokenStoreCrash, LeavesAWholeRecordWhenTheKeyringIsKilled) {
    constexpr int rounds = 10;
    PrivateSession session(PrivateSession::Keyring::unlocked);
    RandomMoments moments;
    ASSERT_TRUE(store(0));
    int last = 0;
    for (int round = 1; round <= rounds && !HasFailure(); ++round) {
        {
            const Writer writer(last + 1);
            std::this_thread::sleep_until(moments.next());
            session.keyring().kill();
        }
        session.startKeyring(PrivateSession::Keyring::unlocked);
        const int number = readNumber();
        EXPECT_GE(number, last);
        EXPECT_EQ(numberOfItems(), 1U);
        last = number;
    }
}
