#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace simulator {

/// The fields of a query or a form, decoded (application/x-www-form-urlencoded), in their order.
class Query {
public:
    /// Reads the text behind the "?", or the body of a form. A "%" without two hexadecimal digits
    /// stays as it is.
    explicit Query(std::string_view encoded);

    /// The query of a request's target.
    static Query ofTarget(std::string_view target);

    /// The value of the field if it is there exactly once.
    std::optional<std::string> value(std::string_view name) const;

private:
    std::vector<std::pair<std::string, std::string>> fields_;
};

} // namespace simulator
