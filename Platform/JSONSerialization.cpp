#include "Platform/JSONSerialization.h"

#include <nlohmann/json.hpp>

namespace platform {

namespace {

// Keeps an object's members in the order of the text.
using Node = nlohmann::ordered_json;

const Node& nodeOf(const std::shared_ptr<const void>& node) {
    return *static_cast<const Node*>(node.get());
}

// Only number and place: the library's own words repeat a piece of the text, which may hold a
// token.
Error parseError(const Node::exception& exception, std::size_t byte) {
    return {JSONErrorDomain, exception.id,
            "The text is not valid JSON (byte " + std::to_string(byte) + ")."};
}

} // namespace

std::optional<JSONValue> JSONValue::member(const std::string& name) const {
    const Node& node = nodeOf(node_);
    if (!node.is_object())
        return std::nullopt;
    const auto found = node.find(name);
    if (found == node.end() || found->is_null())
        return std::nullopt;
    return JSONValue(std::shared_ptr<const void>(node_, &*found));
}

std::optional<std::string> JSONValue::string() const {
    const Node& node = nodeOf(node_);
    if (!node.is_string())
        return std::nullopt;
    return node.get_ref<const std::string&>();
}

bool JSONValue::isObject() const {
    return nodeOf(node_).is_object();
}

std::vector<std::pair<std::string, JSONValue>> JSONValue::members() const {
    std::vector<std::pair<std::string, JSONValue>> members;
    const Node& node = nodeOf(node_);
    if (!node.is_object())
        return members;
    members.reserve(node.size());
    for (const auto& [name, value] : node.items())
        members.emplace_back(name, JSONValue(std::shared_ptr<const void>(node_, &value)));
    return members;
}

std::optional<JSONValue> JSONSerialization::JSONObjectWithData(const Data& data,
                                                               std::optional<Error>& error) {
    const auto* const bytes = reinterpret_cast<const char*>(data.data());
    try {
        auto tree = std::make_shared<const Node>(Node::parse(bytes, bytes + data.size()));
        if (tree->is_structured())
            return JSONValue(std::move(tree));
        error = Error(JSONErrorDomain, 0, "The JSON text is neither an object nor an array.");
    } catch (const Node::parse_error& exception) {
        error = parseError(exception, exception.byte);
    } catch (const Node::exception& exception) {
        error = parseError(exception, 0);
    }
    return std::nullopt;
}

std::optional<Data>
JSONSerialization::dataWithJSONObject(const std::map<std::string, std::string>& object,
                                      std::optional<Error>& error) {
    try {
        return encodeUTF8(Node(object).dump());
    } catch (const Node::type_error& exception) {
        error = Error(JSONErrorDomain, exception.id, "The text is not valid UTF-8.");
        return std::nullopt;
    }
}

} // namespace platform
