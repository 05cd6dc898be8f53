#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

/// Bytes whose meaning is not text: a token, a request's body, a generic attribute. Never mixed up
/// with text, which is a std::string in UTF-8.
using Data = std::vector<std::byte>;

/// The bytes of a text's UTF-8 encoding. Cannot fail; every byte of the text is kept.
Data encodeUTF8(std::string_view text);

/// The text whose UTF-8 encoding the bytes are, or absent when they are not valid UTF-8 (RFC 3629:
/// overlong forms, surrogates and values above U+10FFFF are not). No bytes give the empty text.
std::optional<std::string> decodeUTF8(const Data& bytes);

/// The length in bytes of the valid UTF-8 character at the start of the text; 0 when there is none,
/// because the text is empty or starts with something else. By the same rule.
std::size_t lengthOfFirstCharacter(std::string_view text);

/// Whether the bytes of a text are valid UTF-8, by the same rule.
bool isValidUTF8(std::string_view text);

/// Whether a valid UTF-8 text holds a control character (C0, DEL or C1). Text that is not valid
/// UTF-8 counts as holding one.
bool holdsControlCharacter(std::string_view text);

} // namespace platform
