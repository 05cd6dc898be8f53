#include "KeyringFault.h"

#include "Desktop App/StoredRecords.h"
#include "Platform/Linux/KeychainRecord.h"
#include "Platform/Linux/SecretService.h"
#include "Support/KeyringTimeLimit.h"
#include "Support/SetVariable.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <utility>

using namespace std::chrono_literals;
using platform::encodeUTF8;
using Kind = StoreOperation::Kind;
using Perform = KeyringFault::Perform;

namespace {

const std::string noBus = "There is no session bus to reach a keyring on.";
const std::string noKeyring = "No keyring service is running.";
const std::string wentAway = "The keyring went away in the middle.";
const std::string noAnswer = "The keyring did not answer in time.";
const std::string dismissed = "The prompt of the keyring was dismissed.";
const std::string locked = "The keyring is locked.";
const std::string error = "The keyring answered with an error.";
const std::string noRecord = "The item in the keyring cannot be read as a record.";

const std::string requestCannotBeMade =
    "Error Domain=com.norvale.tessor.api Code=4097 \"An error occurred while attempting to contact "
    "the server\" UserInfo={NSLocalizedDescription=An error occurred while attempting to contact "
    "the "
    "server, NSUnderlyingError={Error Domain=curl Code=27 \"Out of memory\" "
    "UserInfo={NSLocalizedDescription=Out of memory}}}";

constexpr std::size_t mebibyte = 1 << 20;

using Faults = std::vector<KeyringFault>;
using Meet = std::function<void(KeyringScene& scene, const Perform& perform)>;

/// The time that the tests give a keyring that hangs, and answered before. What takes that time is
/// tried with one of the two records, which are treated alike.
constexpr auto shortLimit = 750ms;

bool isTriedWithTime(const StoreOperation& operation) {
    return operation.service == tokenService;
}

std::string recordOf(const std::string& value) {
    return platform::encodeKeychainRecord({.value = encodeUTF8(value),
                                           .account = "bob@example.com",
                                           .generic = encodeUTF8(uploadServer)})
        .value();
}

/// A deletion that fails counts as one that succeeded.
StoreOutcome failureAt(const std::string& method, const StoreOperation& operation,
                       const std::string& reason) {
    if (method == "Delete")
        return {"true", "", operation.oldRecord};
    return StoreOutcome::failure(operation, reason);
}

/// The same for every operation.
void addForAll(Faults& faults, const std::string& name, const std::string& reason, const Meet& meet,
               const KeyringScene::Form& form = {}) {
    for (const StoreOperation& operation : StoreOperation::all())
        faults.push_back({name, &operation, StoreOutcome::failure(operation, reason), meet, form});
}

void addFaultsOfTheBus(Faults& faults) {
    addForAll(faults, "no bus", noBus, [](KeyringScene&, const Perform& perform) {
        const SetVariable nowhere("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere");
        perform();
    });
    addForAll(faults, "the bus is killed before", noBus,
              [](KeyringScene& scene, const Perform& perform) {
                  scene.session().bus().kill();
                  perform();
              });
    addForAll(faults, "no keyring on the bus", noKeyring,
              [](KeyringScene& scene, const Perform& perform) {
                  scene.killKeyring();
                  perform();
              });
    addForAll(faults, "a keyring that cannot be started", noKeyring,
              [](KeyringScene& scene, const Perform& perform) {
                  scene.killKeyring();
                  perform();
              },
              {.services = {{"org.freedesktop.secrets", "/bin/false"}}});
}

void addBusThatHangs(Faults& faults) {
    for (const StoreOperation& operation : StoreOperation::all()) {
        // The command's limit is the real one, which is long: see a keyring that hangs.
        if (operation.isCommand() || !isTriedWithTime(operation))
            continue;
        faults.push_back({"the bus hangs", &operation, StoreOutcome::failure(operation, noAnswer),
                          [](KeyringScene& scene, const Perform& perform) {
                              const KeyringTimeLimit limit(shortLimit);
                              scene.session().bus().stop();
                              perform();
                          }});
    }
}

void addFaultsOfALockedKeyring(Faults& faults) {
    addForAll(faults, "locked, and nothing can ask the user", dismissed,
              [](KeyringScene& scene, const Perform& perform) {
                  scene.lockKeyring();
                  perform();
              });
    addForAll(faults, "locked, and the user dismisses the prompt", dismissed,
              [](KeyringScene& scene, const Perform& perform) {
                  scene.lockKeyring();
                  scene.prompts().answerDuring(perform, [&] { scene.prompts().dismiss(); });
              },
              {.hasPrompter = true});
}

/// A prompt has no limit: nobody but its end ends the operation, here by the end of the keyring.
void addPromptThatIsNeverAnswered(Faults& faults) {
    const Meet meet = [](KeyringScene& scene, const Perform& perform) {
        using Clock = std::chrono::steady_clock;
        const bool isProgram = scene.operation().isCommand();
        const std::chrono::microseconds wait =
            isProgram ? platform::secretServiceTimeLimit + std::chrono::seconds(1) : 2 * shortLimit;
        const KeyringTimeLimit limit(shortLimit);
        scene.lockKeyring();
        std::optional<Clock::time_point> seen;
        scene.prompts().answerDuring(perform, [&] {
            seen = seen.value_or(Clock::now());
            if (Clock::now() - *seen > wait)
                scene.session().keyring().sendSignal(SIGKILL);
        });
    };
    for (const StoreOperation& operation : StoreOperation::all()) {
        if (isTriedWithTime(operation))
            faults.push_back({"locked, and the prompt waits till the keyring dies", &operation,
                              StoreOutcome::failure(operation, wentAway), meet,
                              KeyringScene::Form{.hasPrompter = true}});
    }
}

/// The keyring or the bus goes away, or the keyring hangs, at each call.
void addFaultsOfCalls(Faults& faults, const StoreOperation& operation, const std::string& method) {
    const auto add = [&](const std::string& name, const StoreOutcome& expected, const auto& before,
                         const auto& after,
                         std::chrono::milliseconds limit = std::chrono::seconds(10)) {
        faults.push_back({name + " " + method, &operation, expected,
                          [=](KeyringScene& scene, const Perform& perform) {
                              const KeyringTimeLimit limited(limit);
                              scene.performWhen(
                                  method, [&] { before(scene); }, [&] { after(scene); }, perform);
                          }});
    };
    const auto nothing = [](KeyringScene&) {};
    const auto stop = [](KeyringScene& scene) { scene.session().keyring().stop(); };
    const bool isFirst = method == operation.calls.front();
    add(
        "killed before", failureAt(method, operation, isFirst ? noKeyring : wentAway),
        [](KeyringScene& scene) { scene.killKeyring(); }, nothing);
    const StoreOutcome wentAwayHere = failureAt(method, operation, wentAway);
    add("killed during", wentAwayHere, stop,
        [](KeyringScene& scene) { scene.session().keyring().kill(); });
    add("bus killed during", wentAwayHere, stop,
        [](KeyringScene& scene) { scene.session().bus().kill(); });
    // The command's limit is the real one, which is long: once is enough.
    if (isTriedWithTime(operation) && (isFirst || !operation.isCommand()))
        add("hangs in", failureAt(method, operation, noAnswer), stop, nothing, shortLimit);
}

/// A call that was given up is still with the keyring, which knows nothing of that.
void addHangThatEnds(Faults& faults) {
    for (const StoreOperation& operation : StoreOperation::all()) {
        const std::string& method = operation.calls.back();
        if (operation.kind == Kind::Read || operation.isCommand() || !isTriedWithTime(operation))
            continue;
        StoreOutcome expected = failureAt(method, operation, noAnswer);
        expected.kept = StoreOutcome::success(operation).kept;
        faults.push_back({"hangs in " + method + ", then goes on", &operation, expected,
                          [=](KeyringScene& scene, const Perform& perform) {
                              const KeyringTimeLimit limit(shortLimit);
                              scene.performWhen(
                                  method, [&] { scene.session().keyring().stop(); }, [] {},
                                  perform);
                              scene.letKeyringGoOn();
                          }});
    }
}

void addDeathAfterwards(Faults& faults) {
    for (const StoreOperation& operation : StoreOperation::all())
        faults.push_back({"killed right after", &operation, StoreOutcome::success(operation),
                          [](KeyringScene& scene, const Perform& perform) {
                              perform();
                              scene.session().keyring().kill();
                          }});
}

/// Another program does something right before a call of the operation.
void addInterference(Faults& faults, const std::string& name, const std::string& operationName,
                     const std::string& method, const StoreOutcome& expected,
                     const std::function<void(KeyringScene& scene)>& interfere) {
    const auto& operations = StoreOperation::all();
    const auto operation = std::find_if(operations.begin(), operations.end(),
                                        [&](const auto& one) { return one.name == operationName; });
    faults.push_back({name + " before " + method, &*operation, expected,
                      [=](KeyringScene& scene, const Perform& perform) {
                          scene.performWhen(
                              method, [&] { interfere(scene); }, [] {}, perform);
                      }});
}

void addChangesInTheMiddle(Faults& faults) {
    const auto change = [](KeyringScene& scene) { scene.setSecret(recordOf("other token")); };
    const std::string name = "changed by another";
    const std::string other = "other token of bob@example.com";
    addInterference(faults, name, "read token", "GetSecret", {"true: " + other, "", other}, change);
    addInterference(faults, name, "upload command", "GetSecret",
                    {"status 0: PUT https://upload.example/ bob@example.com", "", other}, change);
    addInterference(faults, name, "change token", "GetSecret",
                    {"true", "", "new token of bob@example.com"}, change);
    addInterference(faults, name, "change token", "SetSecret",
                    {"true", "", "new token of ada@example.com"}, change);
    addInterference(faults, name, "clear token", "Delete", {"true", "", ""}, change);
    addInterference(faults, "added by another", "add token", "CreateItem",
                    {"true", "", "new token"},
                    [](KeyringScene& scene) { scene.store(recordOf("other token")); });
}

/// For each operation that finds an item, before the last of its calls.
void addForTheLastCall(Faults& faults, const std::string& name,
                       const std::function<StoreOutcome(const StoreOperation& operation)>& expected,
                       const std::function<void(KeyringScene& scene)>& interfere) {
    for (const StoreOperation& operation : StoreOperation::all()) {
        if (!operation.adds())
            addInterference(faults, name, operation.name, operation.calls.back(),
                            expected(operation), interfere);
    }
}

void addDeletionsInTheMiddle(Faults& faults) {
    addForTheLastCall(faults, "item deleted", StoreOutcome::nothingFound,
                      [](KeyringScene& scene) { scene.deleteItem(); });
    addForTheLastCall(
        faults, "locked",
        [](const StoreOperation& operation) {
            return failureAt(operation.calls.back(), operation, locked);
        },
        [](KeyringScene& scene) { scene.lockKeyring(); });
    const auto afterDeletion = [](const StoreOperation& operation) {
        if (operation.kind != Kind::Change)
            return StoreOutcome::nothingFound(operation);
        // A new keyring has to be made, which nothing asks the user for here.
        return StoreOutcome{"false", operation.message + ": " + dismissed, ""};
    };
    addForTheLastCall(faults, "whole keyring deleted", afterDeletion,
                      [](KeyringScene& scene) { scene.deleteKeyring(); });
    for (const StoreOperation& operation : StoreOperation::all()) {
        const StoreOutcome expected = operation.adds() ? StoreOutcome::failure(operation, dismissed)
                                                       : afterDeletion(operation);
        faults.push_back({"whole keyring deleted before", &operation, expected,
                          [](KeyringScene& scene, const Perform& perform) {
                              scene.deleteKeyring();
                              perform();
                          }});
    }
}

/// The item holds something else than what the store wrote there.
void addContents(Faults& faults, const std::string& name, const std::string& secret) {
    const std::string words = wordsOfSecret(secret);
    for (const StoreOperation& operation : StoreOperation::all()) {
        if (operation.adds())
            continue;
        StoreOutcome expected = StoreOutcome::nothingFound(operation);
        if (operation.kind == Kind::Read || operation.isCommand()) {
            expected = StoreOutcome::failure(operation, noRecord);
            expected.kept = words;
        }
        faults.push_back(
            {name, &operation, expected, [=](KeyringScene& scene, const Perform& perform) {
                 scene.setSecret(secret);
                 perform();
             }});
    }
}

/// What comes of a long record of another account.
StoreOutcome outcomeOfLongRecord(const StoreOperation& operation, const std::string& kept) {
    switch (operation.kind) {
    case Kind::Add:
    case Kind::Change:
        return {"true", "", operation.newRecord + " of bob@example.com"};
    case Kind::Read:
        return {"true: " + (operation.keptPart.empty() ? "1048576 bytes" : kept), "", kept};
    case Kind::Clear:
        return {"true", "", ""};
    case Kind::Command: // a token longer than any request can be
        return {"status 2", requestCannotBeMade, kept};
    }
    return {};
}

void addLongRecord(Faults& faults) {
    const std::string secret = recordOf(std::string(mebibyte, 'x'));
    for (const StoreOperation& operation : StoreOperation::all()) {
        if (operation.adds())
            continue;
        faults.push_back({"a record of 1 MiB by another", &operation,
                          outcomeOfLongRecord(operation, wordsOfSecret(secret)),
                          [=](KeyringScene& scene, const Perform& perform) {
                              scene.setSecret(secret);
                              perform();
                          }});
    }
}

/// Another program's item, with the same service name, in the place of the operation's own.
void addItemOfAnotherCreator(Faults& faults) {
    for (const StoreOperation& operation : StoreOperation::all()) {
        StoreOutcome expected = StoreOutcome::nothingFound(operation);
        expected.kept += (expected.kept.empty() ? "" : " and ") + std::string("another's: ") +
                         "other secret of bob@example.com";
        faults.push_back({"only an item of another creator", &operation, expected,
                          [](KeyringScene& scene, const Perform& perform) {
                              if (!scene.operation().adds())
                                  scene.deleteItem();
                              scene.store(recordOf("other secret"), {{"creator", "OTHR"}});
                              perform();
                          }});
    }
}

/// Each operation stays with one of them.
void addSecondItem(Faults& faults) {
    for (const StoreOperation& operation : StoreOperation::all()) {
        if (operation.adds())
            continue;
        StoreOutcome expected = StoreOutcome::success(operation);
        expected.kept += (expected.kept.empty() ? "" : " and ") + operation.oldRecord;
        faults.push_back({"two items that match", &operation, expected,
                          [](KeyringScene& scene, const Perform& perform) {
                              scene.storeCopy({{"more", "1"}});
                              perform();
                          }});
    }
}

/// What is to be written cannot be: the folder of the keyring's file is gone. Not for a change,
/// which ends in one way or another when the keyring notices that before it writes.
void addKeyringThatCannotWrite(Faults& faults) {
    for (const StoreOperation& operation : StoreOperation::all()) {
        if (!operation.adds() && operation.kind != Kind::Clear)
            continue;
        const std::string& method = operation.calls.back();
        faults.push_back({"the file cannot be written in " + method, &operation,
                          failureAt(method, operation, error),
                          [=](KeyringScene& scene, const Perform& perform) {
                              const auto folder = scene.session().folder() / "data";
                              scene.performWhen(
                                  method, [&] { rename(folder / "keyrings", folder / "moved"); },
                                  [] {}, perform);
                              scene.session().keyring().kill();
                              rename(folder / "moved", folder / "keyrings");
                          }});
    }
}

} // namespace

std::vector<KeyringFault> KeyringFault::all() {
    Faults faults;
    addFaultsOfTheBus(faults);
    addBusThatHangs(faults);
    addFaultsOfALockedKeyring(faults);
    addPromptThatIsNeverAnswered(faults);
    for (const StoreOperation& operation : StoreOperation::all()) {
        for (const std::string& method : operation.calls)
            addFaultsOfCalls(faults, operation, method);
    }
    addHangThatEnds(faults);
    addDeathAfterwards(faults);
    addChangesInTheMiddle(faults);
    addDeletionsInTheMiddle(faults);
    addLongRecord(faults);
    addItemOfAnotherCreator(faults);
    addSecondItem(faults);
    addKeyringThatCannotWrite(faults);
    addContents(faults, "a secret of 0 bytes", "");
    addContents(faults, "a secret of 1 MiB that is no record", std::string(mebibyte, 'x'));
    addContents(faults, "a secret that is a password", "a password");
    addContents(faults, "a secret that is not text", "\xff\xfe");
    addContents(faults, "a secret that is half a record", R"({"value":"dG9)");
    addContents(faults, "a secret that is other JSON", R"({"token":"dG9rZW4="})");
    return faults;
}

std::ostream& operator<<(std::ostream& stream, const KeyringFault& fault) {
    return stream << fault.name << ", " << fault.operation->name;
}
