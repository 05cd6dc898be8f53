#include "Objects.h"

#include <mutex>

namespace standins {

namespace {

/// All objects that there are. Never destroyed, because constants outlive everything.
struct Objects {
    std::recursive_mutex mutex;
    std::map<const void*, std::unique_ptr<Object>> all;
    std::vector<std::string> complaints;
};

Objects& objects() {
    static auto* const shared = new Objects;
    return *shared;
}

} // namespace

void enter(const void* address, std::unique_ptr<Object> object, bool isConstant) {
    const std::lock_guard lock(objects().mutex);
    object->isConstant = isConstant;
    objects().all.emplace(address, std::move(object));
}

Object* objectAt(const void* address) {
    const std::lock_guard lock(objects().mutex);
    const auto found = objects().all.find(address);
    if (found != objects().all.end())
        return found->second.get();
    complain(address == nullptr ? "null was used as an object" : "an object was used that is gone");
    return nullptr;
}

void complain(const std::string& complaint) {
    const std::lock_guard lock(objects().mutex);
    objects().complaints.push_back(complaint);
}

std::vector<std::string> takeComplaints() {
    const std::lock_guard lock(objects().mutex);
    return std::exchange(objects().complaints, {});
}

std::size_t countHolds() {
    const std::lock_guard lock(objects().mutex);
    std::size_t holds = 0;
    for (const auto& [address, object] : objects().all)
        holds += object->references - (object->isConstant ? 1 : 0);
    return holds;
}

} // namespace standins

using namespace standins;

CFTypeRef CFRetain(CFTypeRef object) {
    const std::lock_guard lock(objects().mutex);
    if (Object* const held = objectAt(object))
        ++held->references;
    return object;
}

void CFRelease(CFTypeRef object) {
    const std::lock_guard lock(objects().mutex);
    Object* const held = objectAt(object);
    if (held == nullptr)
        return;
    if (held->isConstant && held->references == 1) {
        complain("an object of the system's own was released that was not held");
        return;
    }
    if (--held->references > 0)
        return;
    // Taken out first: its own destruction releases what it holds.
    const auto entry = objects().all.find(object);
    const std::unique_ptr<Object> last = std::move(entry->second);
    objects().all.erase(entry);
}

CFTypeID CFGetTypeID(CFTypeRef object) {
    const Object* const known = objectAt(object);
    return known == nullptr ? 0 : static_cast<CFTypeID>(known->type);
}
