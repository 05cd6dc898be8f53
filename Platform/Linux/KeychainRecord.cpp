#include "KeychainRecord.h"

#include <nlohmann/json.hpp>
#include <openssl/evp.h>

#include <algorithm>
#include <limits>

namespace platform {

namespace {

using nlohmann::json;

std::string base64(const Data& bytes) {
    std::string text((bytes.size() + 2) / 3 * 4 + 1, '\0'); // one more for the terminator
    const int length = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()),
                                       reinterpret_cast<const unsigned char*>(bytes.data()),
                                       static_cast<int>(bytes.size()));
    text.resize(static_cast<std::size_t>(length));
    return text;
}

std::size_t paddingOf(const std::string& text) {
    return text.size() - std::min(text.size(), text.find_last_not_of('=') + 1);
}

std::optional<Data> bytesOfBase64(const std::string& text) {
    const std::size_t padding = paddingOf(text);
    if (text.size() % 4 != 0 || padding > 2 ||
        text.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        return std::nullopt;
    }
    Data bytes(text.size() / 4 * 3);
    const int length = EVP_DecodeBlock(reinterpret_cast<unsigned char*>(bytes.data()),
                                       reinterpret_cast<const unsigned char*>(text.data()),
                                       static_cast<int>(text.size()));
    if (length < 0 || static_cast<std::size_t>(length) != bytes.size()) {
        return std::nullopt;
    }
    bytes.resize(bytes.size() - padding); // the decoder counts padding as bytes
    // The decoder forgives blanks and stray bits; what it forgave does not encode to the same text.
    return base64(bytes) == text ? std::optional(std::move(bytes)) : std::nullopt;
}

bool isFlatObjectOfStrings(const json& object) {
    return object.is_object() && std::all_of(object.begin(), object.end(),
                                             [](const json& member) { return member.is_string(); });
}

bool isASCIIWithoutNUL(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char character) {
        const auto byte = static_cast<unsigned char>(character);
        return byte > 0 && byte < 0x80; // a NUL would end the text for the parser
    });
}

} // namespace

std::optional<std::string> encodeKeychainRecord(const KeychainRecord& record) {
    if (record.account && !isValidUTF8(*record.account)) {
        return std::nullopt;
    }
    json object = {{"value", base64(record.value)}};
    if (record.account) {
        object["account"] = *record.account;
    }
    if (record.generic) {
        object["generic"] = base64(*record.generic);
    }
    return object.dump(-1, ' ', true);
}

std::optional<KeychainRecord> decodeKeychainRecord(std::string_view text) {
    const json object = isASCIIWithoutNUL(text) ? json::parse(text, nullptr, false) : json();
    if (!isFlatObjectOfStrings(object)) {
        return std::nullopt;
    }
    KeychainRecord record;
    bool hasValue = false;
    for (const auto& [name, member] : object.items()) {
        const auto& memberText = member.get_ref<const std::string&>();
        if (name == "account") {
            record.account = memberText;
            continue;
        }
        auto bytes = bytesOfBase64(memberText);
        if (!bytes) {
            return std::nullopt;
        }
        if (name == "value") {
            record.value = std::move(*bytes);
            hasValue = true;
        } else if (name == "generic") {
            record.generic = std::move(*bytes);
        } else {
            return std::nullopt;
        }
    }
    return hasValue ? std::optional(std::move(record)) : std::nullopt;
}

} // namespace platform
