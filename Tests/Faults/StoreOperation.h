#pragma once

#include <ostream>
#include <string>
#include <vector>

/// One operation of the credential store on one of its two records, or the upload-URL command, as
/// the faults of the keyring meet it. A record is written here as "VALUE of ACCOUNT".
struct StoreOperation {
    enum class Kind {
        Add,    ///< stores the record where there is none
        Change, ///< stores a record without an account over the one that is there
        Read,
        Clear,
        Command ///< the built program asks where a file is to be uploaded
    };

    std::string name;
    Kind kind;
    std::string service; ///< the item's service name
    std::string message; ///< what the log says before the reason

    /// The calls that it makes to the keyring, each as often as it comes first.
    std::vector<std::string> calls;

    std::string oldRecord; ///< what is there before, if it does not add
    std::string newRecord; ///< what the operation leaves when there was nothing
    std::string keptPart;  ///< what follows that when it kept a part of the old record

    /// Performs the operation; what it answers, in words: "true" or "false" and, behind a colon,
    /// what was read; the exit status of the command and what it printed.
    std::string (*perform)();

    bool adds() const { return kind == Kind::Add; }
    bool isCommand() const { return kind == Kind::Command; }

    static const std::vector<StoreOperation>& all();
};

std::ostream& operator<<(std::ostream& stream, const StoreOperation& operation);

/// What came of an operation.
struct StoreOutcome {
    std::string answer; ///< as StoreOperation::perform yields it
    std::string line;   ///< in the log, lines after the first behind a "|"; empty for none
    std::string kept;   ///< the items in the keyring; empty for none

    bool operator==(const StoreOutcome&) const = default;

    /// As it should be when the keychain fails for that reason, which is what the log says.
    static StoreOutcome failure(const StoreOperation& operation, const std::string& reason);

    /// As it should be when all goes well, and when there is no record.
    static StoreOutcome success(const StoreOperation& operation);
    static StoreOutcome nothingFound(const StoreOperation& operation);
};

std::ostream& operator<<(std::ostream& stream, const StoreOutcome& outcome);

/// A record in words, from what the keyring holds for it. What is no record is quoted, or counted.
std::string wordsOfSecret(const std::string& secret);

/// What a service that the command can ask answers, and where it is.
inline constexpr const char* uploadServer = "registration.ardentra.example";
inline constexpr const char* uploadAnswer =
    R"({"data":{"type":"url","method":"PUT","url":"https://upload.example/"}})";
