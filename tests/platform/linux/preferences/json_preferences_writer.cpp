// SPDX-License-Identifier: MIT
// Writes numbers from 1 up under keys of its own, and prints each once it is stored.
//   json_preferences_writer FILE PREFIX COUNT
// Even numbers go to "PREFIX-even", odd ones to "PREFIX-odd".  COUNT 0 runs until killed.
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>

#include <QString>

#include "platform/linux/preferences/json_preferences_store.h"
#include "support/manual_main_queue.h"

int main(int argc, char** argv) {
    if (argc != 4) return EXIT_FAILURE;
    const std::string prefix = argv[2];
    const std::int64_t count = std::atoll(argv[3]);
    tavelo::testing::ManualMainQueue mainQueue;
    tavelo::JsonPreferencesStore store(mainQueue, QString::fromLocal8Bit(argv[1]));
    for (std::int64_t number = 1; count == 0 || number <= count; ++number) {
        store.setObject({number}, prefix + (number % 2 == 0 ? "-even" : "-odd"));
        std::optional<bool> saved;
        store.synchronize([&saved](bool result) { saved = result; });
        if (!mainQueue.runUntil([&saved] { return saved.has_value(); }) || !*saved) return EXIT_FAILURE;
        std::printf("%lld\n", static_cast<long long>(number));
        std::fflush(stdout);
    }
    return EXIT_SUCCESS;
}
