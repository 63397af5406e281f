// SPDX-License-Identifier: MIT
// Writes preferences and waits for the outcome.
#pragma once

#include <optional>

#include "platform/preferences_store.h"
#include "support/held_main_queue.h"

namespace tavelo {

/// Whether what changed is on the disk now.
[[nodiscard]] inline bool synchronized(PreferencesStore& store, HeldMainQueue& mainQueue) {
    std::optional<bool> saved;
    store.synchronize([&saved](bool result) { saved = result; });
    return mainQueue.runUntil([&saved] { return saved.has_value(); }) && *saved;
}

} // namespace tavelo
