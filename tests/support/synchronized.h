// SPDX-License-Identifier: MIT
// Writes preferences to the disk and waits for the result.
#pragma once

#include <optional>

#include "platform/preferences_store.h"
#include "support/manual_main_queue.h"

namespace tavelo::testing {

/// True if all changes are on the disk.
[[nodiscard]] inline bool synchronized(PreferencesStore& store, ManualMainQueue& mainQueue) {
    std::optional<bool> saved;
    store.synchronize([&saved](bool result) { saved = result; });
    return mainQueue.runUntil([&saved] { return saved.has_value(); }) && *saved;
}

} // namespace tavelo::testing
