#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace simulator {

/// The text and that many blanks behind it, compressed with gzip (RFC 1952). Throws std::bad_alloc.
std::string gzip(std::string_view text, std::size_t blanksBehind = 0);

} // namespace simulator
