// What a service answers: the first byte says to which operation, the others are the body.

#include "Fuzz.h"
#include "ServiceAnswers.h"

#include <array>

namespace {

using platform::Data;
using platform::Error;
using platform::JSONValue;

int handled = 0;

/// A success or a failure, and not both.
void expectOutcome(bool succeeded, const std::optional<Error>& error) {
    ++handled;
    require(succeeded != error.has_value());
    require(!error || error->domain() == VTAPIErrorDomain);
}

void judgeAs(unsigned operation, const JSONValue& json) {
    const auto one = [](const auto& value, const auto& error) {
        expectOutcome(value.has_value(), error);
    };
    const auto two = [](const auto& first, const auto& second, const auto& error) {
        require(first.has_value() == second.has_value());
        expectOutcome(first.has_value(), error);
    };
    switch (operation) {
    case 0:
        return judgeUploadTarget(two, json);
    case 1:
        return judgeServerListing(one, json);
    case 2:
        return judgeLoginURL(two, json);
    case 3:
        return judgeToken(one, json);
    default:
        return judgeUserInfo(one, json);
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    const unsigned operation = data[0] % 5;
    const auto* const bytes = reinterpret_cast<const std::byte*>(data);
    handled = 0;
    judgeAnswer(
        [operation](const std::optional<JSONValue>& json, const std::optional<Error>& error) {
            if (json)
                judgeAs(operation, *json);
            else
                expectOutcome(false, error);
        },
        Data(bytes + 1, bytes + size), std::nullopt);
    require(handled == 1);
    return 0;
}
