#include "StoreOperation.h"

#include "Desktop App/StoredRecords.h"
#include "Platform/Linux/KeychainRecord.h"
#include "Support/ChildProcess.h"

#include <algorithm>

using platform::Data;
using Kind = StoreOperation::Kind;

namespace {

std::string words(const std::string& text) {
    constexpr std::size_t longest = 40;
    const bool isReadable = !text.empty() && text.size() <= longest &&
                            std::all_of(text.begin(), text.end(), [](char character) {
                                return character >= ' ' && character <= '~';
                            });
    return isReadable ? text : std::to_string(text.size()) + " bytes";
}

std::string wordsOfRecord(const std::string& value, const std::optional<std::string>& account) {
    return words(value) + (account ? " of " + *account : "");
}

std::string wordsOf(bool answer) {
    return answer ? "true" : "false";
}

std::string readTheToken() {
    const TokenRecord record = readToken();
    if (record == TokenRecord())
        return "false";
    if (record == noToken())
        return "true: nothing";
    return wordsOf(record.succeeded) + ": " +
           wordsOfRecord(platform::decodeUTF8(record.token.value()).value(), record.account);
}

std::string readTheCode() {
    const CodeRecord record = readCode();
    return record == CodeRecord() ? "false"
                                  : wordsOf(record.succeeded) + ": " + words(record.code.value());
}

std::string runCommand() {
    const ProgramResult result =
        runProgram({.arguments = {VT_PROGRAM, "--generate-upload-url", "report.pdf"}});
    std::string output = result.standardOutput;
    std::replace(output.begin(), output.end(), '\n', ' ');
    return "status " + std::to_string(result.exitStatus.value_or(-1)) +
           (output.empty() ? "" : ": " + output.substr(0, output.size() - 1));
}

std::string storeToken() {
    return wordsOf(VTTokenStore::setToken(bytes("new token"), uploadServer, std::nullopt));
}

std::string storeCode() {
    return wordsOf(VTTokenStore::setEphemeralCode("new code", uploadServer));
}

const std::string storingAToken = "Failed to add or update the Ardentra registration token";
const std::string loadingAToken =
    "An error occurred while attempting to load the Ardentra registration token";
const std::string storingACode = "Failed to add or update the Ardentra ephemeral code";

const std::vector<std::string> callsOfAdding = {"SearchItems", "ReadAlias", "Unlock", "OpenSession",
                                                "CreateItem"};
const std::vector<std::string> callsOfChanging = {"SearchItems", "OpenSession", "GetSecret",
                                                  "SetSecret"};
const std::vector<std::string> callsOfReading = {"SearchItems", "OpenSession", "GetSecret"};
const std::vector<std::string> callsOfClearing = {"SearchItems", "Delete"};

StoreOperation onToken(const std::string& name, Kind kind, const std::string& message,
                       const std::vector<std::string>& calls, std::string (*perform)()) {
    return {name,         kind,
            tokenService, message,
            calls,        kind == Kind::Add ? "" : "old token of ada@example.com",
            "new token",  " of ada@example.com",
            perform};
}

StoreOperation onCode(const std::string& name, Kind kind, const std::string& message,
                      const std::vector<std::string>& calls, std::string (*perform)()) {
    return {name,       kind, codeService, message, calls, kind == Kind::Add ? "" : "old code",
            "new code", "",   perform};
}

} // namespace

const std::vector<StoreOperation>& StoreOperation::all() {
    static const std::vector<StoreOperation> operations = {
        onToken("add token", Kind::Add, storingAToken, callsOfAdding, storeToken),
        onToken("change token", Kind::Change, storingAToken, callsOfChanging, storeToken),
        onToken("read token", Kind::Read, loadingAToken, callsOfReading, readTheToken),
        onToken("clear token", Kind::Clear, "Unable to remove the Ardentra registration token",
                callsOfClearing, [] { return wordsOf(VTTokenStore::clearToken()); }),
        onCode("add code", Kind::Add, storingACode, callsOfAdding, storeCode),
        onCode("change code", Kind::Change, storingACode, callsOfChanging, storeCode),
        onCode("read code", Kind::Read,
               "An error occurred while attempting to load the Ardentra ephemeral code",
               callsOfReading, readTheCode),
        onCode("clear code", Kind::Clear, "Unable to remove the Ardentra ephemeral code",
               callsOfClearing, [] { return wordsOf(VTTokenStore::clearEphemeralCode()); }),
        onToken("upload command", Kind::Command, loadingAToken, callsOfReading, runCommand)};
    return operations;
}

std::ostream& operator<<(std::ostream& stream, const StoreOperation& operation) {
    return stream << operation.name;
}

StoreOutcome StoreOutcome::failure(const StoreOperation& operation, const std::string& reason) {
    return {operation.isCommand() ? "status 1" : "false", operation.message + ": " + reason,
            operation.oldRecord};
}

StoreOutcome StoreOutcome::success(const StoreOperation& operation) {
    switch (operation.kind) {
    case Kind::Add:
        return {"true", "", operation.newRecord};
    case Kind::Change:
        return {"true", "", operation.newRecord + operation.keptPart};
    case Kind::Read:
        return {"true: " + operation.oldRecord, "", operation.oldRecord};
    case Kind::Clear:
        return {"true", "", ""};
    case Kind::Command:
        return {"status 0: PUT https://upload.example/ ada@example.com", "", operation.oldRecord};
    }
    return {};
}

StoreOutcome StoreOutcome::nothingFound(const StoreOperation& operation) {
    switch (operation.kind) {
    case Kind::Add:
    case Kind::Change:
        return {"true", "", operation.newRecord};
    case Kind::Read:
        return {operation.service == tokenService ? "true: nothing" : "false", "", ""};
    case Kind::Clear:
        return {"true", "", ""};
    case Kind::Command:
        return {"status 1", "", ""};
    }
    return {};
}

std::ostream& operator<<(std::ostream& stream, const StoreOutcome& outcome) {
    return stream << outcome.answer
                  << (outcome.line.empty() ? "; logs nothing" : "; logs \"" + outcome.line + "\"")
                  << "; keyring: " << (outcome.kept.empty() ? "nothing" : outcome.kept);
}

std::string wordsOfSecret(const std::string& secret) {
    const auto record = platform::decodeKeychainRecord(secret);
    if (!record)
        return "no record, " + words(secret);
    const auto server = record->generic ? platform::decodeUTF8(*record->generic) : std::nullopt;
    return wordsOfRecord(platform::decodeUTF8(record->value).value(), record->account) +
           (server == uploadServer ? "" : " at " + server.value_or("no server"));
}
