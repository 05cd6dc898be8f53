#include "Query.h"

#include <algorithm>
#include <charconv>

namespace simulator {

namespace {

std::string decoded(std::string_view text) {
    std::string plain;
    for (std::size_t at = 0; at < text.size(); ++at) {
        unsigned char byte = 0;
        const std::string_view digits = text.substr(at + 1, 2);
        const bool isEscape =
            text[at] == '%' && digits.size() == 2 &&
            std::from_chars(digits.data(), digits.data() + 2, byte, 16).ptr == digits.data() + 2;
        if (isEscape) {
            plain += static_cast<char>(byte);
            at += 2;
        } else {
            plain += text[at] == '+' ? ' ' : text[at];
        }
    }
    return plain;
}

} // namespace

Query::Query(std::string_view encoded) {
    while (!encoded.empty()) {
        const std::string_view field = encoded.substr(0, encoded.find('&'));
        const std::size_t equals = field.find('=');
        fields_.emplace_back(decoded(field.substr(0, equals)),
                             equals == std::string_view::npos ? ""
                                                              : decoded(field.substr(equals + 1)));
        encoded.remove_prefix(std::min(encoded.size(), field.size() + 1));
    }
}

Query Query::ofTarget(std::string_view target) {
    const std::size_t mark = target.find('?');
    return Query(mark == std::string_view::npos ? "" : target.substr(mark + 1));
}

std::optional<std::string> Query::value(std::string_view name) const {
    const auto hasName = [name](const auto& field) { return field.first == name; };
    if (std::count_if(fields_.begin(), fields_.end(), hasName) != 1) {
        return std::nullopt;
    }
    return std::find_if(fields_.begin(), fields_.end(), hasName)->second;
}

} // namespace simulator
