#include "Platform/Linux/SecretService.h"
#include "Support/PrivateSession.h"
#include "VTTokenStore.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
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
    const std::string text = std::to_string(number);
    return VTTokenStore::setToken(encodeUTF8(text), server(number), account(number)) &&
           VTTokenStore::setEphemeralCode(text, server(number));
}

bool clear() {
    return VTTokenStore::clearToken() && VTTokenStore::clearEphemeralCode();
}

/// Less than every record's number.
constexpr int noRecord = -1;

/// The numbers that the two records were made of.
struct Numbers {
    int token = noRecord;
    int ephemeralCode = noRecord;
};

/// A record made of parts of several is a failure.
int readToken() {
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

/// The same.
int readEphemeralCode() {
    std::optional<std::string> code;
    std::optional<std::string> storedServer;
    if (!VTTokenStore::getEphemeralCode(code, storedServer))
        return noRecord;
    const int number = std::stoi(code.value());
    EXPECT_EQ(storedServer, server(number));
    return number;
}

std::size_t numberOfItems(const std::string& name) {
    std::unique_ptr<SecretService> service;
    SecretService::Matches matches;
    EXPECT_EQ(SecretService::connect(service), errSecSuccess);
    EXPECT_EQ(service->search({{"service", name}}, matches), errSecSuccess);
    return matches.unlocked.size() + matches.locked.size();
}

void expectNoItemTwice() {
    EXPECT_LE(numberOfItems("Ardentra Registration"), 1U);
    EXPECT_LE(numberOfItems("Ardentra Registration (ephemeral code)"), 1U);
}

/// A process that updates both records again and again for as long as it lives.
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

/// A process that reads both records again and again, beside whatever else goes on, and looks
/// whether they are whole.
class Reader {
public:
    Reader() {
        EXPECT_EQ(pipe(ends_.data()), 0);
        process_ = fork();
        if (process_ == 0)
            readUntilToldToStop();
        close(ends_[0]);
    }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;
    ~Reader() {
        close(ends_[1]);
        int status = -1;
        EXPECT_EQ(waitpid(process_, &status, 0), process_);
        EXPECT_TRUE(WIFSIGNALED(status)) << "the other reader has met a record that is not whole";
    }

private:
    [[noreturn]] void readUntilToldToStop() {
        close(ends_[1]);
        pollfd stop = {.fd = ends_[0], .events = POLLIN, .revents = 0};
        while (poll(&stop, 1, 0) == 0 && !testing::Test::HasFailure()) {
            readToken();
            readEphemeralCode();
        }
        if (testing::Test::HasFailure())
            _exit(1);
        // Or the sanitizers would look for threads of the parent, which are not in this process.
        kill(getpid(), SIGKILL);
        std::abort();
    }

    std::array<int, 2> ends_ = {-1, -1};
    pid_t process_ = -1;
};

/// How long a writer takes until its first records are there.
std::chrono::microseconds timeOfTheFirstRecords() {
    EXPECT_TRUE(clear());
    const auto start = Clock::now();
    const Writer writer(0);
    EXPECT_TRUE(waitUntil([] { return readEphemeralCode() != noRecord; }));
    return std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start);
}

/// Moments at random, so that over many rounds every step of a write is hit: as many before a
/// writer's first records are there as after it, however fast the machine.
class RandomMoments {
public:
    RandomMoments() : microseconds_(0, 2 * timeOfTheFirstRecords().count()) {}

    Clock::time_point next() {
        return Clock::now() + std::chrono::microseconds(microseconds_(generator_));
    }

private:
    std::mt19937 generator_{std::random_device()()};
    std::uniform_int_distribution<std::int64_t> microseconds_;
};

/// The numbers that are there now; none less than the one before.
Numbers readAfter(const Numbers& before) {
    const Numbers now = {.token = readToken(), .ephemeralCode = readEphemeralCode()};
    EXPECT_GE(now.token, before.token) << "the record was gone, or an older one came back";
    EXPECT_GE(now.ephemeralCode, before.ephemeralCode);
    return now;
}

/// Has a writer killed at a random moment while this process reads. The numbers that are there in
/// the end.
Numbers readWhileAWriterIsKilled(int firstNumber, Numbers numbers, Clock::time_point moment) {
    {
        const Writer writer(firstNumber);
        do {
            numbers = readAfter(numbers);
        } while (Clock::now() < moment);
    }
    numbers = readAfter(numbers);
    expectNoItemTwice();
    return numbers;
}

} // namespace

TEST(TokenStoreCrash, LeavesWholeRecordsWhenTheWriterIsKilled) {
    constexpr int kills = 1000;
    constexpr int numbersOfARound = 1000;
    const PrivateSession session(PrivateSession::Keyring::unlocked);
    RandomMoments moments;
    const Reader reader;
    int killsAfterAChange = 0;
    Numbers numbers;
    int kill = 0;
    for (; kill < kills && !HasFailure(); ++kill) {
        if (kill % 4 == 0) { // the first record of all is written otherwise than the next
            ASSERT_TRUE(clear());
            numbers = {};
        }
        const int firstNumber = kill * numbersOfARound;
        numbers = readWhileAWriterIsKilled(firstNumber, numbers, moments.next());
        killsAfterAChange += numbers.token >= firstNumber ? 1 : 0;
    }
    std::printf("%d kills, %d of them after a change: %s\n", kill, killsAfterAChange,
                HasFailure() ? "see the failure above" : "every record was whole");
    EXPECT_GT(killsAfterAChange, kills / 20) << "hardly a writer lived long enough to write";
}

TEST(TokenStoreCrash, LeavesWholeRecordsWhenTheKeyringIsKilled) {
    constexpr int rounds = 10;
    PrivateSession session(PrivateSession::Keyring::unlocked);
    RandomMoments moments;
    ASSERT_TRUE(store(0));
    Numbers numbers = {.token = 0, .ephemeralCode = 0};
    for (int round = 1; round <= rounds && !HasFailure(); ++round) {
        {
            const Writer writer(numbers.token + 1);
            std::this_thread::sleep_until(moments.next());
            session.keyring().kill();
        }
        session.startKeyring(PrivateSession::Keyring::unlocked);
        numbers = readAfter(numbers);
        expectNoItemTwice();
    }
}
