#pragma once

#include "Answer.h"
#include "Connection.h"

#include <string>

namespace simulator {

/// Sends an answer, which is ready as it belongs on the wire, in the way that was asked for. True
/// when it is whole at the peer and the connection can go on.
bool deliver(const std::string& message, const Answer& manner, Connection& connection);

/// Whether this way of sending needs a chunked body, and whether it cuts the body short.
bool needsChunks(Wire wire);
bool cutsBody(Wire wire);

} // namespace simulator
