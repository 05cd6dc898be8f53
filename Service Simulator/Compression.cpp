#include "Compression.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <new>

namespace simulator {

namespace {

constexpr int gzipFormat = 16; // added to the window's size, as zlib wants it

class Deflater {
public:
    Deflater() {
        if (deflateInit2(&stream_, Z_BEST_COMPRESSION, Z_DEFLATED, MAX_WBITS + gzipFormat,
                         MAX_MEM_LEVEL, Z_DEFAULT_STRATEGY) != Z_OK) {
            throw std::bad_alloc();
        }
    }
    ~Deflater() { deflateEnd(&stream_); }
    Deflater(const Deflater&) = delete;
    Deflater& operator=(const Deflater&) = delete;

    void add(std::string_view text, int flush) {
        std::string input(text);
        stream_.next_in = reinterpret_cast<Bytef*>(input.data());
        stream_.avail_in = static_cast<uInt>(input.size());
        std::array<Bytef, 16384> buffer{};
        do {
            stream_.next_out = buffer.data();
            stream_.avail_out = static_cast<uInt>(buffer.size());
            deflate(&stream_, flush);
            compressed_.append(reinterpret_cast<const char*>(buffer.data()),
                               buffer.size() - stream_.avail_out);
        } while (stream_.avail_out == 0);
    }

    std::string finish() {
        add({}, Z_FINISH);
        return std::move(compressed_);
    }

private:
    z_stream stream_{};
    std::string compressed_;
};

} // namespace

std::string gzip(std::string_view text, std::size_t blanksBehind) {
    Deflater deflater;
    deflater.add(text, Z_NO_FLUSH);
    const std::string blanks(std::min<std::size_t>(blanksBehind, 1048576), ' ');
    while (blanksBehind > 0) {
        const std::size_t count = std::min(blanksBehind, blanks.size());
        deflater.add(std::string_view(blanks).substr(0, count), Z_NO_FLUSH);
        blanksBehind -= count;
    }
    return deflater.finish();
}

} // namespace simulator
