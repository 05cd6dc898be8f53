#include "Platform/JSONSerialization.h"

#include "Platform/JSONTree.h"

#include <nlohmann/json.hpp>

#include <unordered_map>

namespace platform {

JSONValue::JSONValue(std::shared_ptr<const JSONTree> tree, std::size_t index)
    : tree_(std::move(tree)), index_(index) {}

const JSONNode& JSONValue::node() const {
    return tree_->nodes()[index_];
}

template <typename Visitor>
void JSONValue::visitMembers(Visitor visit) const {
    if (!isObject())
        return;
    for (std::size_t index = index_ + 1; index < node().end; index = tree_->nodes()[index].end)
        visit(JSONValue(tree_, index));
}

std::optional<JSONValue> JSONValue::member(const std::string& name) const {
    std::optional<JSONValue> found;
    visitMembers([&](const JSONValue& member) {
        if (member.node().name == name)
            found = member;
    });
    return found && found->node().kind != JSONNode::Kind::null ? found : std::nullopt;
}

std::optional<std::string> JSONValue::string() const {
    if (node().kind != JSONNode::Kind::string)
        return std::nullopt;
    return std::string(node().text);
}

bool JSONValue::isObject() const {
    return node().kind == JSONNode::Kind::object;
}

std::vector<std::pair<std::string, JSONValue>> JSONValue::members() const {
    std::vector<std::pair<std::string, JSONValue>> members;
    std::unordered_map<std::string_view, std::size_t> places;
    visitMembers([&](const JSONValue& member) {
        const std::string_view name = member.node().name;
        const auto [place, isNew] = places.try_emplace(name, members.size());
        if (isNew)
            members.emplace_back(name, member);
        else
            members[place->second].second = member;
    });
    return members;
}

std::optional<JSONValue> JSONSerialization::JSONObjectWithData(const Data& data,
                                                               std::optional<Error>& error) {
    auto tree = JSONTree::parse(data, error);
    if (tree == nullptr)
        return std::nullopt;
    const JSONNode::Kind kind = tree->nodes().front().kind;
    if (kind == JSONNode::Kind::object || kind == JSONNode::Kind::array)
        return JSONValue(std::move(tree), 0);
    error = Error(JSONErrorDomain, 0, "The JSON text is neither an object nor an array.");
    return std::nullopt;
}

std::optional<Data>
JSONSerialization::dataWithJSONObject(const std::map<std::string, std::string>& object,
                                      std::optional<Error>& error) {
    try {
        return encodeUTF8(nlohmann::json(object).dump());
    } catch (const nlohmann::json::type_error& exception) {
        error = Error(JSONErrorDomain, exception.id, "The text is not valid UTF-8.");
        return std::nullopt;
    }
}

} // namespace platform
