#pragma once

#include "Data.h"
#include "Error.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace platform {

struct JSONNode;
class JSONTree;

/// The domain of the errors of reading and writing JSON.
inline constexpr const char* JSONErrorDomain = "JSON";

/// A value of a parsed JSON text (RFC 8259), read-only. Copies are cheap and share the text's tree.
/// Asking a value for what it is not yields "absent", so that a member of an unexpected type counts
/// as absent everywhere.
class JSONValue {
public:
    /// The member of that name, or absent when this is no object, has no such member, or the member
    /// is null. Of members with the same name the last one counts.
    std::optional<JSONValue> member(const std::string& name) const;

    /// The text, or absent when this is no string.
    std::optional<std::string> string() const;

    bool isObject() const;

    /// An object's members in the order of the text, one for each name; none when this is no
    /// object.
    std::vector<std::pair<std::string, JSONValue>> members() const;

private:
    friend class JSONSerialization;
    JSONValue(std::shared_ptr<const JSONTree> tree, std::size_t index);

    const JSONNode& node() const;
    template <typename Visitor>
    void visitMembers(Visitor visit) const;

    std::shared_ptr<const JSONTree> tree_;
    std::size_t index_;
};

class JSONSerialization {
public:
    /// Parses a JSON text in UTF-8 whose top level is an object or an array. On failure, absent,
    /// and the error says at which byte and why, without repeating any of the text.
    static std::optional<JSONValue> JSONObjectWithData(const Data& data,
                                                       std::optional<Error>& error);

    /// The compact JSON text of an object of strings. On failure (a name or value is not valid
    /// UTF-8), absent, and the error says so without repeating it.
    static std::optional<Data> dataWithJSONObject(const std::map<std::string, std::string>& object,
                                                  std::optional<Error>& error);
};

} // namespace platform
