#include "BusScene.h"

namespace {

constexpr std::string_view answerToURL = "An error occurred while attempting to obtain the token";

std::string shortened(const std::string& line) {
    constexpr std::size_t longest = 160;
    constexpr std::size_t beginning = 80;
    return line.size() <= longest
               ? line
               : line.substr(0, beginning) + "... (" + std::to_string(line.size()) + " bytes)";
}

} // namespace

std::ostream& operator<<(std::ostream& stream, const BusOutcome& outcome) {
    return stream << outcome.answer
                  << (outcome.line.empty() ? "; logs nothing" : "; logs \"" + outcome.line + "\"")
                  << "; " << outcome.after;
}

std::string BusScene::lines() {
    return linesWithout(answerToURL);
}

std::string BusScene::linesOfNoURL() {
    return linesWithout(refusalOfURL);
}

std::string BusScene::linesWithout(std::string_view beginning) {
    std::string all;
    for (const std::string& line : log_.lines()) {
        if (!line.starts_with(answerToURL) && !line.starts_with(beginning))
            all += (all.empty() ? "" : " | ") + shortened(line);
    }
    return all;
}

std::string BusScene::stateOf(ChildProcess& application) const {
    const QDBusMessage answer = bus_.call("Activate", {QVariantMap()});
    if (!application.isRunning())
        return "has ended";
    return answer.type() == QDBusMessage::ReplyMessage ? "goes on" : "does not answer";
}

std::string BusScene::endOf(ChildProcess& application) {
    if (!application.isRunning())
        return "has ended";
    application.sendSignal(SIGTERM);
    return application.wait().exitStatus == 0 ? "ends in order" : "does not end in order";
}

std::string wordsOfAnswer(const QDBusMessage& answer) {
    return answer.type() == QDBusMessage::ReplyMessage ? "an answer"
                                                       : answer.errorName().toStdString();
}
