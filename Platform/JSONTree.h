#pragma once

#include "Data.h"
#include "Error.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

/// One value of a JSON text.
struct JSONNode {
    enum class Kind : std::uint8_t { null, string, object, array, other };

    Kind kind;
    std::string_view name; ///< of a member of an object
    std::string_view text; ///< of a string
    std::size_t end;       ///< the index after the value and all that is in it
};

/// A parsed JSON text, whole in two blocks of memory however deep it is nested: its values in the
/// order of the text, without those in arrays, and the characters of their names and texts.
class JSONTree {
public:
    /// Absent, with the error, when the bytes are no JSON text in UTF-8. Takes time and memory in
    /// proportion to the bytes, whatever they hold.
    static std::shared_ptr<const JSONTree> parse(const Data& bytes, std::optional<Error>& error);

    /// The values; the first is the whole text's. The names and texts live as long as the tree.
    const std::vector<JSONNode>& nodes() const { return nodes_; }

private:
    class Builder;

    std::vector<JSONNode> nodes_;
    std::vector<char> characters_;
};

} // namespace platform
