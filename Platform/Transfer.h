#pragma once

#include "Platform/Data.h"
#include "Platform/Error.h"
#include "Platform/URLRequest.h"
#include "Platform/URLSession.h"

#include <memory>
#include <optional>
#include <stop_token>

namespace platform {

/// Exactly one of the two is present; after a transfer that was asked to stop, possibly neither.
struct TransferResult {
    std::optional<Data> body;
    std::optional<Error> error;
};

/// One HTTPS request and its answer, on the thread that runs it.
class Transfer {
public:
    /// Sets up the transport library once for the process. To be called before any transfer, on the
    /// thread that starts it.
    static void prepareLibrary();

    /// The request must outlive the transfer.
    Transfer(const URLSessionConfiguration& configuration, const URLRequest& request);
    Transfer(const Transfer&) = delete;
    Transfer& operator=(const Transfer&) = delete;
    ~Transfer();

    /// Runs until there is an answer or an error, or until it is asked to stop, which it heeds at
    /// once, whatever it is waiting for.
    TransferResult run(const std::stop_token& stop);

private:
    class Implementation;
    std::unique_ptr<Implementation> implementation_;
};

} // namespace platform
