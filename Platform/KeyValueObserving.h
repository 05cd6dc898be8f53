#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace platform {

/// Lets others observe the properties of an object by their names, and the values derived from
/// them. Observers are told on the thread of the change, which is the main thread, after each write
/// through a setter, also a write of the same value.
class KeyValueObserving {
public:
    virtual ~KeyValueObserving() = default;

    /// Calls the observer after each announced change of that key, for the life of this object.
    void addObserver(std::function<void()> observer, const std::string& forKeyPath);

protected:
    /// Announces a change of the key, and of every derived value that depends on it.
    void didChangeValueForKey(const std::string& key);

    /// The derived values, each with the keys that affect it. A key that nothing announces is
    /// inert.
    virtual std::map<std::string, std::set<std::string>>
    keyPathsForValuesAffectingDerivedValues() const = 0;

private:
    void tellObservers(const std::string& key) const;

    std::map<std::string, std::vector<std::function<void()>>> observers_;
};

} // namespace platform
