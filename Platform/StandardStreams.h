#pragma once

namespace platform {

/// To be called first in main. Makes writing to a standard stream that is closed, or to a pipe
/// whose reader has gone, an error of that write and nothing worse: without it, a file or
/// connection opened later would take the closed stream's place, and the pipe would end the
/// process.
void prepareStandardStreams();

} // namespace platform
