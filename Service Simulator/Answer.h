#pragma once

#include "Request.h"

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

namespace simulator {

/// How an answer goes over the wire. "Half" of something is half of its bytes, rounded down. Where
/// a body is to be cut and there is none, the body is one blank.
enum class Wire {
    Whole,             ///< as it should
    ResetBeforeAnswer, ///< no byte, then a TCP reset
    ResetInHeaders,    ///< half of the headers, then a TCP reset
    ResetInBody,       ///< the headers and half of the body, then a TCP reset
    CloseInBody,       ///< the headers and half of the body, then an orderly end of the connection
    StallBeforeAnswer, ///< no byte, until the peer gives up or the simulator ends
    StallInHeaders,    ///< half of the headers, then silence like that
    StallInBody,       ///< the headers and half of the body, then silence like that
    Drip,              ///< whole, but one byte at a time, Answer::dripInterval apart
    TruncatedChunk,    ///< like CloseInBody, with a chunked body
    Endless,           ///< the headers, the body and then blanks (chunked) until the peer gives up
};

/// The form of the body. A form that Wire prescribes (chunked) goes before this one.
enum class BodyEncoding {
    Identity, ///< as it is, with Content-Length
    Chunked,  ///< in chunks of at most 1 KiB
    Gzip,     ///< compressed, whether the client asked for it or not
    /// Compressed, with 64 MiB of blanks behind the body; about 64 KiB on the wire. The inflated
    /// body is JSON if the body is.
    CompressionBomb,
};

/// An answer and the way it is given. Content-Type (application/json, if there is a body),
/// Content-Length or Transfer-Encoding, and Content-Encoding are added unless the headers hold
/// them.
struct Answer {
    int status = 200;
    std::vector<Header> headers = {};
    std::string body = {};
    std::chrono::milliseconds delay{0}; ///< before the first byte
    Wire wire = Wire::Whole;
    std::chrono::milliseconds dripInterval{10};
    BodyEncoding encoding = BodyEncoding::Identity;
};

/// The certificate that the simulator shows.
enum class Certificate {
    Good,             ///< for the simulator's host names, 127.0.0.1 and ::1
    Expired,          ///< like Good, but since yesterday no more
    NotYetValid,      ///< like Good, but from tomorrow on
    WrongHost,        ///< good for "elsewhere.invalid" only
    UnknownAuthority, ///< like Good, but from an authority that nobody knows
};

/// The enumerator's name, as scripts write it: "ResetInBody".
std::string_view nameOf(Wire wire);

} // namespace simulator
