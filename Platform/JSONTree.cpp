#include "Platform/JSONTree.h"

#include "Platform/JSONSerialization.h"

#include <nlohmann/json.hpp>

namespace platform {

/// Takes the values as the parser comes by them.
class JSONTree::Builder : public nlohmann::json_sax<nlohmann::json> {
public:
    Builder(JSONTree& tree, std::optional<Error>& error) : tree_(tree), error_(error) {}

    bool null() override { return add(JSONNode::Kind::null); }
    bool boolean(bool) override { return add(JSONNode::Kind::other); }
    bool number_integer(number_integer_t) override { return add(JSONNode::Kind::other); }
    bool number_unsigned(number_unsigned_t) override { return add(JSONNode::Kind::other); }
    bool number_float(number_float_t, const string_t&) override {
        return add(JSONNode::Kind::other);
    }
    bool binary(binary_t&) override { return add(JSONNode::Kind::other); }

    bool string(string_t& text) override {
        return arrays_ > 0 || add(JSONNode::Kind::string, keep(text));
    }

    bool key(string_t& name) override {
        if (arrays_ == 0)
            name_ = keep(name);
        return true;
    }

    bool start_object(std::size_t) override {
        if (arrays_ > 0)
            return enterArray();
        open_.push_back(tree_.nodes_.size());
        return add(JSONNode::Kind::object);
    }

    bool end_object() override {
        if (arrays_ > 0)
            return end_array();
        tree_.nodes_[open_.back()].end = tree_.nodes_.size();
        open_.pop_back();
        return true;
    }

    bool start_array(std::size_t) override {
        add(JSONNode::Kind::array);
        return enterArray();
    }

    bool end_array() override {
        --arrays_;
        return true;
    }

    // Only number and place: the library's own words repeat a piece of the text, which may hold a
    // token.
    bool parse_error(std::size_t position, const std::string&,
                     const nlohmann::detail::exception& exception) override {
        error_ = Error(JSONErrorDomain, exception.id,
                       "The text is not valid JSON (byte " + std::to_string(position) + ").");
        return false;
    }

private:
    bool enterArray() {
        ++arrays_;
        return true;
    }

    bool add(JSONNode::Kind kind, std::string_view text = {}) {
        if (arrays_ == 0)
            tree_.nodes_.push_back({kind, name_, text, tree_.nodes_.size() + 1});
        return true;
    }

    /// Stays where it is: room was made for more than the text can hold.
    std::string_view keep(const std::string& characters) {
        auto& kept = tree_.characters_;
        const std::size_t place = kept.size();
        kept.insert(kept.end(), characters.begin(), characters.end());
        return {kept.data() + place, characters.size()};
    }

    JSONTree& tree_;
    std::optional<Error>& error_;
    std::string_view name_;
    std::vector<std::size_t> open_;
    std::size_t arrays_ = 0; // that are open, with what is open in them
};

std::shared_ptr<const JSONTree> JSONTree::parse(const Data& bytes, std::optional<Error>& error) {
    const auto tree = std::make_shared<JSONTree>();
    // No character takes more room than its form in the text.
    tree->characters_.reserve(bytes.size());
    Builder builder(*tree, error);
    const auto* const text = reinterpret_cast<const char*>(bytes.data());
    return nlohmann::json::sax_parse(text, text + bytes.size(), &builder) ? tree : nullptr;
}

} // namespace platform
