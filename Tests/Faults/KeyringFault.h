#pragma once

#include "KeyringScene.h"

#include <functional>
#include <ostream>
#include <string>
#include <vector>

/// Something that is wrong with the keyring or on the way there, for one operation.
struct KeyringFault {
    using Perform = std::function<void()>;

    std::string name;
    const StoreOperation* operation;
    StoreOutcome expected;

    /// Performs the operation once, under the fault.
    std::function<void(KeyringScene& scene, const Perform& perform)> meet;

    KeyringScene::Form form = {};

    /// Each fault for each operation that it can meet.
    static std::vector<KeyringFault> all();
};

std::ostream& operator<<(std::ostream& stream, const KeyringFault& fault);
