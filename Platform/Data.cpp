#include "Platform/Data.h"

#include <algorithm>
#include <array>

namespace platform {

namespace {

struct ByteRange {
    unsigned char first;
    unsigned char last;

    bool holds(char byte) const {
        const auto value = static_cast<unsigned char>(byte);
        return first <= value && value <= last;
    }
};

/// The characters of one length that start alike: which first byte they have, which second.
struct CharacterForm {
    ByteRange first;
    ByteRange second;
    std::size_t length;
};

constexpr ByteRange continuation = {0x80, 0xbf};

/// The well-formed sequences (The Unicode Standard, table 3-7); every further byte is a
/// continuation.
constexpr std::array<CharacterForm, 9> characterForms = {{{{0x00, 0x7f}, {}, 1},
                                                          {{0xc2, 0xdf}, continuation, 2},
                                                          {{0xe0, 0xe0}, {0xa0, 0xbf}, 3},
                                                          {{0xe1, 0xec}, continuation, 3},
                                                          {{0xed, 0xed}, {0x80, 0x9f}, 3},
                                                          {{0xee, 0xef}, continuation, 3},
                                                          {{0xf0, 0xf0}, {0x90, 0xbf}, 4},
                                                          {{0xf1, 0xf3}, continuation, 4},
                                                          {{0xf4, 0xf4}, {0x80, 0x8f}, 4}}};

bool startsWith(std::string_view text, const CharacterForm& form) {
    if (text.size() < form.length || !form.first.holds(text.front()))
        return false;
    if (form.length == 1)
        return true;
    return form.second.holds(text[1]) &&
           std::ranges::all_of(text.substr(2, form.length - 2),
                               [](char byte) { return continuation.holds(byte); });
}

/// C0, DEL and C1, which are all there is and will be of the general category Cc.
bool isControl(std::string_view character) {
    constexpr ByteRange c0 = {0x00, 0x1f};
    constexpr char del = 0x7f;
    constexpr ByteRange c1 = {0x80, 0x9f};
    if (character.size() == 1)
        return c0.holds(character.front()) || character.front() == del;
    return character.front() == '\xc2' && c1.holds(character[1]);
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

std::size_t lengthOfFirstCharacter(std::string_view text) {
    const auto* const form = std::ranges::find_if(
        characterForms, [text](const CharacterForm& each) { return startsWith(text, each); });
    return form == characterForms.end() ? 0 : form->length;
}

bool isValidUTF8(std::string_view text) {
    while (!text.empty()) {
        const std::size_t length = lengthOfFirstCharacter(text);
        if (length == 0)
            return false;
        text.remove_prefix(length);
    }
    return true;
}

bool holdsControlCharacter(std::string_view text) {
    while (!text.empty()) {
        const std::size_t length = lengthOfFirstCharacter(text);
        if (length == 0 || isControl(text.substr(0, length)))
            return true;
        text.remove_prefix(length);
    }
    return false;
}

} // namespace platform
