#pragma once

#include "Answer.h"
#include "Request.h"
#include "Simulator.h"

namespace simulator {

/// Answers a request to /simulator/, by which a shell script steers the simulator:
/// GET and DELETE /simulator/requests, PUT and DELETE /simulator/script.
Answer answerControl(const RecordedRequest& request, Simulator& simulator);

} // namespace simulator
