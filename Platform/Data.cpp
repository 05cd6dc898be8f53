#include "Platform/Data.h"

#include <unictype.h>
#include <unistr.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>

namespace platform {

namespace {

const std::uint8_t* unicodeBytes(std::string_view text) {
    return reinterpret_cast<const std::uint8_t*>(text.data());
}

} // namespace

Data encodeUTF8(std::string_view text) {
    Data bytes(text.size());
    std::ranges::transform(text, bytes.begin(),
                           [](char character) { return static_cast<std::byte>(character); });
    return bytes;
}

std::optional<std::string> decodeUTF8(const Data& bytes) {
    std::string text(bytes.size(), '\0');
    std::ranges::transform(bytes, text.begin(),
                           [](std::byte byte) { return static_cast<char>(byte); });
    if (!isValidUTF8(text))
        return std::nullopt;
    return text;
}

bool isValidUTF8(std::string_view text) {
    return u8_check(unicodeBytes(text), text.size()) == nullptr;
}

bool holdsControlCharacter(std::string_view text) {
    while (!text.empty()) {
        ucs4_t character = 0;
        const int length = u8_mbtoucr(&character, unicodeBytes(text), text.size());
        if (length <= 0 || uc_is_general_category(character, UC_CONTROL))
            return true;
        text.remove_prefix(static_cast<std::size_t>(length));
    }
    return false;
}

} // namespace platform
