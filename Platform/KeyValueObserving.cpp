#include "Platform/KeyValueObserving.h"

#include <utility>

namespace platform {

void KeyValueObserving::addObserver(std::function<void()> observer, const std::string& forKeyPath) {
    observers_[forKeyPath].push_back(std::move(observer));
}

void KeyValueObserving::didChangeValueForKey(const std::string& key) {
    tellObservers(key);
    for (const auto& [derivedKey, affectingKeys] : keyPathsForValuesAffectingDerivedValues()) {
        if (affectingKeys.contains(key))
            tellObservers(derivedKey);
    }
}

void KeyValueObserving::tellObservers(const std::string& key) const {
    const auto found = observers_.find(key);
    if (found == observers_.end())
        return;
    // A copy, because an observer may add another one.
    const std::vector<std::function<void()>> observers = found->second;
    for (const std::function<void()>& observer : observers)
        observer();
}

} // namespace platform
