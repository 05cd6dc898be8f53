#include "Script.h"

#include <nlohmann/json.hpp>

#include <array>
#include <cstdint>
#include <utility>

namespace simulator {

namespace {

using JSON = nlohmann::ordered_json;

/// A name that a script can use, and what it stands for.
template <typename Value>
using Choice = std::pair<std::string_view, Value>;

constexpr auto wires = std::to_array<Choice<Wire>>({
    {"Whole", Wire::Whole},
    {"ResetBeforeAnswer", Wire::ResetBeforeAnswer},
    {"ResetInHeaders", Wire::ResetInHeaders},
    {"ResetInBody", Wire::ResetInBody},
    {"CloseInBody", Wire::CloseInBody},
    {"StallBeforeAnswer", Wire::StallBeforeAnswer},
    {"StallInHeaders", Wire::StallInHeaders},
    {"StallInBody", Wire::StallInBody},
    {"Drip", Wire::Drip},
    {"TruncatedChunk", Wire::TruncatedChunk},
    {"Endless", Wire::Endless},
});

constexpr auto encodings = std::to_array<Choice<BodyEncoding>>({
    {"Identity", BodyEncoding::Identity},
    {"Chunked", BodyEncoding::Chunked},
    {"Gzip", BodyEncoding::Gzip},
    {"CompressionBomb", BodyEncoding::CompressionBomb},
});

constexpr auto certificates = std::to_array<Choice<Certificate>>({
    {"Good", Certificate::Good},
    {"Expired", Certificate::Expired},
    {"NotYetValid", Certificate::NotYetValid},
    {"WrongHost", Certificate::WrongHost},
    {"UnknownAuthority", Certificate::UnknownAuthority},
});

/// A value and its place in the script, for the error's sake.
struct Member {
    const JSON& json;
    std::string place;

    [[noreturn]] void refuse(const std::string& expectation) const {
        throw ScriptError(place + ": " + expectation);
    }

    std::string text() const {
        if (!json.is_string()) {
            refuse("expected a string");
        }
        return json.get<std::string>();
    }

    bool boolean() const {
        if (!json.is_boolean()) {
            refuse("expected true or false");
        }
        return json.get<bool>();
    }

    std::int64_t number(std::int64_t least, std::int64_t most) const {
        if (!json.is_number_integer() || json.get<std::int64_t>() < least ||
            json.get<std::int64_t>() > most) {
            refuse("expected an integer from " + std::to_string(least) + " to " +
                   std::to_string(most));
        }
        return json.get<std::int64_t>();
    }

    std::chrono::milliseconds milliseconds() const {
        constexpr std::int64_t anHour = 3600000;
        return std::chrono::milliseconds(number(0, anHour));
    }

    template <typename Choices>
    auto oneOf(const Choices& choices) const {
        const std::string chosen = text();
        std::string names;
        for (const auto& [name, value] : choices) {
            if (name == chosen) {
                return value;
            }
            names.append(names.empty() ? "" : ", ").append(name);
        }
        refuse("expected one of " + names);
    }
};

std::vector<Header> parseHeaders(const Member& member) {
    if (!member.json.is_object()) {
        member.refuse("expected an object of names and values");
    }
    std::vector<Header> headers;
    for (const auto& [name, value] : member.json.items()) {
        const Member header{value, member.place + "." + name};
        headers.emplace_back(name, header.text());
        if ((name + headers.back().second).find_first_of("\r\n") != std::string::npos) {
            header.refuse("a header cannot hold a line break");
        }
    }
    return headers;
}

std::string parsePath(const Member& member) {
    std::string path = member.text();
    if (!path.starts_with('/') || path.find('?') != std::string::npos) {
        member.refuse("expected a path that begins with \"/\" and has no query");
    }
    return path;
}

/// Takes over one member of a scripted answer.
void apply(const std::string& name, const Member& member, ScriptedAnswer& scripted) {
    Answer& answer = scripted.answer;
    if (name == "path") {
        scripted.path = parsePath(member);
    } else if (name == "once") {
        scripted.once = member.boolean();
    } else if (name == "status") {
        answer.status = static_cast<int>(member.number(200, 599));
    } else if (name == "headers") {
        answer.headers = parseHeaders(member);
    } else if (name == "body") {
        answer.body = member.json.is_string() ? member.text() : member.json.dump();
    } else if (name == "delay") {
        answer.delay = member.milliseconds();
    } else if (name == "wire") {
        answer.wire = member.oneOf(wires);
    } else if (name == "dripInterval") {
        answer.dripInterval = member.milliseconds();
    } else if (name == "encoding") {
        answer.encoding = member.oneOf(encodings);
    } else {
        member.refuse("there is no such member");
    }
}

ScriptedAnswer parseAnswer(const Member& member) {
    if (!member.json.is_object()) {
        member.refuse("expected an object");
    }
    ScriptedAnswer scripted;
    for (const auto& [name, value] : member.json.items()) {
        apply(name, {value, member.place + "." + name}, scripted);
    }
    if (scripted.path.empty()) {
        member.refuse("the member \"path\" is missing");
    }
    return scripted;
}

std::vector<ScriptedAnswer> parseAnswers(const Member& member) {
    if (!member.json.is_array()) {
        member.refuse("expected a list");
    }
    std::vector<ScriptedAnswer> answers;
    for (const JSON& value : member.json) {
        answers.push_back(
            parseAnswer({value, member.place + "[" + std::to_string(answers.size()) + "]"}));
    }
    return answers;
}

JSON parseJSON(std::string_view text) {
    try {
        return JSON::parse(text);
    } catch (const JSON::exception& error) {
        throw ScriptError(std::string("the script is not JSON: ") + error.what());
    }
}

} // namespace

std::string_view nameOf(Wire wire) {
    for (const auto& [name, value] : wires) {
        if (value == wire) {
            return name;
        }
    }
    return "";
}

Script Script::parse(std::string_view json) {
    const JSON value = parseJSON(json);
    Script script;
    if (value.is_array()) {
        script.answers = parseAnswers({value, "answers"});
        return script;
    }
    if (!value.is_object()) {
        throw ScriptError("the script: expected an object or a list of answers");
    }
    for (const auto& [name, content] : value.items()) {
        const Member member{content, name};
        if (name == "certificate") {
            script.certificate = member.oneOf(certificates);
        } else if (name == "answers") {
            script.answers = parseAnswers(member);
        } else {
            member.refuse("there is no such member");
        }
    }
    return script;
}

} // namespace simulator
