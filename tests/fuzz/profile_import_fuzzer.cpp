// SPDX-License-Identifier: MIT
// Files of profiles, which people hand on.
#include <QByteArray>
#include <string>

#include "cli/profile_file.h"
#include "fuzz_expect.h"
#include "profiles/stored_profiles.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using tavelo::fuzz::expect;
    std::string reason;
    const auto cameras = tavelo::readProfileFile(
        QByteArray(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)), reason);
    expect(cameras.has_value() == reason.empty());
    if (!cameras) return 0;
    expect(!cameras->empty());
    std::map<std::string, tavelo::PreferencesArray> records;
    for (const auto& [camera, profiles] : *cameras) {
        expect(!profiles.empty() && std::ssize(profiles) <= tavelo::storedProfileCount);
        records[camera] = tavelo::withProfiles(std::nullopt, profiles);
        for (std::size_t i = 0; i < profiles.size(); ++i) {
            const auto* stored = tavelo::profileAt(records[camera], static_cast<std::int64_t>(i));
            expect(stored != nullptr);
            for (const auto& [key, value] : profiles[i])
                expect(stored->at(key) == value);
            for (const std::string& name : tavelo::profileEntryNames())
                expect(!tavelo::profileEntryText(*stored, name).empty());
        }
    }
    // What was imported can be exported and imported again, and is the same then.
    const QByteArray exported = tavelo::profileFile(records);
    const auto again = tavelo::readProfileFile(exported, reason);
    expect(again.has_value() && again->size() == cameras->size());
    for (const auto& [camera, profiles] : *again)
        expect(tavelo::withProfiles(std::nullopt, profiles) == records[camera]);
    return 0;
}
