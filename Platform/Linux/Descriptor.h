#pragma once

#include <unistd.h>

#include <utility>

namespace platform {

/// A descriptor of this process, closed with this object; none when the number is negative.
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(Descriptor&& other) noexcept : number_(other.release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }
    ~Descriptor() { close(); }

    int number() const { return number_; }
    bool isOpen() const { return number_ >= 0; }
    int release() { return std::exchange(number_, -1); }
    void close() {
        if (isOpen())
            ::close(release());
    }

private:
    int number_ = -1;
};

} // namespace platform
