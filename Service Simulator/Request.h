#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace simulator {

/// A header's name and value. The value has no white space around it and is otherwise as it is on
/// the wire.
using Header = std::pair<std::string, std::string>;

/// A request as it came: nothing decoded, nothing added, the headers in their order.
struct RecordedRequest {
    std::string method;
    std::string target; ///< path and query with the "?", if there is one
    std::vector<Header> headers;
    std::string body; ///< without the framing of a chunked body

    /// The target up to its "?".
    std::string path() const;

    /// The values of every header of this name, in any case of letters.
    std::vector<std::string> values(std::string_view headerName) const;

    /// The value of the first header of this name.
    std::optional<std::string> value(std::string_view headerName) const;
};

} // namespace simulator
