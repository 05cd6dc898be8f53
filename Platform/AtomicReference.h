#pragma once

#include <memory>
#include <mutex>
#include <utility>

namespace platform {

/// A reference to a shared object, null at first, that may be read and replaced on any threads at
/// once. What std::atomic<std::shared_ptr> is, which not every C++ library has.
template <typename Object>
class AtomicReference {
public:
    AtomicReference() = default;
    AtomicReference(const AtomicReference&) = delete;
    AtomicReference& operator=(const AtomicReference&) = delete;

    std::shared_ptr<Object> load() const {
        const std::lock_guard lock(mutex_);
        return reference_;
    }

    void store(std::shared_ptr<Object> reference) {
        const std::lock_guard lock(mutex_);
        // What was there goes after the lock, with the argument: its end may be anything.
        reference_.swap(reference);
    }

private:
    mutable std::mutex mutex_;
    std::shared_ptr<Object> reference_;
};

} // namespace platform
