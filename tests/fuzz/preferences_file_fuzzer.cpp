// SPDX-License-Identifier: MIT
// The preferences file, which people and other programs may edit: as it was read first, and as another
// program changed it while ours was about to write.
//
// Input: the two contents, with a zero byte in between.
#include <sys/mman.h>
#include <unistd.h>

#include <QJsonObject>
#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include "fuzz_expect.h"
#include "fuzz_input.h"
#include "platform/common/file_descriptor.h"
#include "platform/linux/preferences/json_preferences_file.h"
#include "platform/linux/preferences/json_preferences_merge.h"
#include "platform/linux/preferences/json_preferences_value.h"
#include "profiles/camera_settings.h"
#include "profiles/stored_profiles.h"

namespace {

using namespace tavelo;
using tavelo::fuzz::expect;

// What the store does, without a thread and a file.
class ReadPreferences final : public PreferencesStore {
public:
    explicit ReadPreferences(const QJsonObject& content) {
        for (auto entry = content.begin(); entry != content.end(); ++entry)
            if (auto value = fromJson(entry.value()))
                values_.emplace(entry.key().toStdString(), std::move(*value));
    }

    std::optional<PreferencesValue> objectForKey(std::string_view key) const override {
        const auto found = values_.find(std::string(key));
        return found != values_.end() ? std::optional(found->second) : std::nullopt;
    }
    void setObject(const PreferencesValue& value, std::string_view key) override {
        values_[std::string(key)] = value;
    }
    void setObjectIfMissing(const PreferencesValue& value, std::string_view key) override {
        values_.try_emplace(std::string(key), value);
    }
    std::vector<std::string> keys() const override {
        std::vector<std::string> names;
        for (const auto& [name, value] : values_)
            names.push_back(name);
        return names;
    }
    void synchronize(SynchronizeHandler /*handler*/) override {}

private:
    std::map<std::string, PreferencesValue> values_;
};

QJsonObject readFrom(std::string_view content) {
    const FileDescriptor file(::memfd_create("preferences", MFD_CLOEXEC));
    expect(file.isOpen() && ::write(file.get(), content.data(), content.size()) == std::ssize(content));
    JsonPreferencesFile preferences("/proc/self/fd/" + std::to_string(file.get()),
                                    std::chrono::milliseconds(0));
    return preferences.readFirst();
}

void lookAtProfiles(const QJsonObject& content) {
    ReadPreferences preferences(content);
    for (const std::string& camera : camerasWithProfiles(preferences)) {
        const std::string key = camera_settings::keyForCamera(camera);
        const auto record = storedRecord(preferences, key);
        expect(record.has_value());
        for (std::int64_t position = -1; position <= storedProfileCount; ++position) {
            const PreferencesDictionary* profile = profileAt(*record, position);
            if (profile == nullptr) continue;
            for (const ProfileControl& control : profileControls())
                static_cast<void>(camera_settings::integer(*profile, control.key));
            static_cast<void>(camera_settings::boolean(*profile, camera_settings::mirrorKey));
        }
        storeProfile(preferences, key, 1, {}, {});
        expect(storedRecord(preferences, key).has_value());
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::FuzzInput input(data, size);
    const QJsonObject first = readFrom(input.text());
    const QJsonObject changed = readFrom(input.text());
    lookAtProfiles(first);
    JsonChanges none;
    JsonChanges all;
    for (auto entry = first.begin(); entry != first.end(); ++entry) {
        none[entry.key()] = {entry.value(), entry.value()};
        all[entry.key()] = {QJsonValue(QJsonValue::Undefined), entry.value()};
        // What is read can be written, and says the same then.
        if (const auto value = fromJson(entry.value())) expect(fromJson(toJson(*value)) == value);
    }
    // Who changes nothing keeps what others wrote.
    const QJsonObject kept = withChanges(changed, none);
    for (auto entry = changed.begin(); entry != changed.end(); ++entry)
        expect(kept.value(entry.key()) == entry.value());
    const QJsonObject set = withChanges(changed, all);
    for (auto entry = first.begin(); entry != first.end(); ++entry)
        expect(set.value(entry.key()) == entry.value());
    return 0;
}
