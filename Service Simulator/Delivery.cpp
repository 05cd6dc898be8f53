#include "Delivery.h"

#include <sstream>
#include <string_view>

namespace simulator {

namespace {

constexpr std::size_t endlessChunkSize = 16384;
constexpr std::string_view endOfHead = "\r\n\r\n";
constexpr std::string_view lastChunk = "0\r\n\r\n";

std::string_view firstHalf(std::string_view text) {
    return text.substr(0, text.size() / 2);
}

std::string chunkOfBlanks() {
    std::ostringstream text;
    text << std::hex << endlessChunkSize << "\r\n" << std::string(endlessChunkSize, ' ') << "\r\n";
    return text.str();
}

bool drip(std::string_view bytes, std::chrono::milliseconds interval, Connection& connection) {
    for (; !bytes.empty(); bytes.remove_prefix(1)) {
        if (!connection.write(bytes.substr(0, 1)) || connection.waitForPeerToLeave(interval)) {
            return false;
        }
    }
    return true;
}

bool writeWithoutEnd(std::string_view message, Connection& connection) {
    const std::string blanks = chunkOfBlanks();
    bool taken = connection.write(message.substr(0, message.size() - lastChunk.size()));
    while (taken) {
        taken = connection.write(blanks);
    }
    return false;
}

bool writeThenReset(std::string_view bytes, Connection& connection) {
    connection.write(bytes);
    connection.resetOnClose();
    return false;
}

bool writeThenStall(std::string_view bytes, Connection& connection) {
    connection.write(bytes);
    connection.waitForPeerToLeave();
    return false;
}

bool writeThenEnd(std::string_view bytes, Connection& connection) {
    connection.write(bytes);
    connection.endOrderly();
    return false;
}

} // namespace

bool needsChunks(Wire wire) {
    return wire == Wire::TruncatedChunk || wire == Wire::Endless;
}

bool cutsBody(Wire wire) {
    return wire == Wire::ResetInBody || wire == Wire::CloseInBody || wire == Wire::StallInBody ||
           wire == Wire::TruncatedChunk;
}

bool deliver(const std::string& message, const Answer& manner, Connection& connection) {
    if (manner.delay.count() > 0 && connection.waitForPeerToLeave(manner.delay)) {
        return false;
    }
    const std::string_view whole = message;
    const std::size_t headSize = whole.find(endOfHead) + endOfHead.size();
    const std::string_view halfHead = firstHalf(whole.substr(0, headSize));
    const std::string_view throughHalfBody =
        whole.substr(0, headSize + firstHalf(whole.substr(headSize)).size());
    switch (manner.wire) {
    case Wire::Whole:
        return connection.write(whole);
    case Wire::Drip:
        return drip(whole, manner.dripInterval, connection);
    case Wire::ResetBeforeAnswer:
        return writeThenReset({}, connection);
    case Wire::ResetInHeaders:
        return writeThenReset(halfHead, connection);
    case Wire::ResetInBody:
        return writeThenReset(throughHalfBody, connection);
    case Wire::CloseInBody:
    case Wire::TruncatedChunk:
        return writeThenEnd(throughHalfBody, connection);
    case Wire::StallBeforeAnswer:
        return writeThenStall({}, connection);
    case Wire::StallInHeaders:
        return writeThenStall(halfHead, connection);
    case Wire::StallInBody:
        return writeThenStall(throughHalfBody, connection);
    case Wire::Endless:
        return writeWithoutEnd(whole, connection);
    }
    return false;
}

} // namespace simulator
