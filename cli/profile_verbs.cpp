// SPDX-License-Identifier: MIT
// taveloctl profiles, apply, save, copy
#include <CLI/CLI.hpp>
#include <QJsonArray>

#include "cli/json_output.h"
#include "cli/profile_file.h"
#include "cli/text_table.h"
#include "cli/verbs.h"
#include "profiles/camera_settings.h"
#include "profiles/settings_push.h"
#include "profiles/stored_profiles.h"

namespace tavelo {
namespace {

constexpr const char* profileHelp = "Number of the profile, 1 to 4";

void addProfile(CLI::App& command, const std::string& name, int& profile) {
    command.add_option(name, profile, profileHelp)
        ->required()
        ->check(CLI::Range(1, static_cast<int>(storedProfileCount)))
        ->type_name("PROFILE");
}

std::vector<Candidate> profileCandidates() {
    std::vector<Candidate> found;
    for (std::int64_t i = 1; i <= storedProfileCount; ++i)
        found.push_back({std::to_string(i)});
    return found;
}

PreferencesDictionary requiredProfile(Session& session, const CaptureDevice& camera, int number) {
    const auto record = storedRecord(session.preferences(), camera_settings::keyForCamera(camera.uniqueID()));
    const PreferencesDictionary* profile = record ? profileAt(*record, number - 1) : nullptr;
    if (profile == nullptr)
        throw Failure(ExitStatus::failed, camera.localizedName() + ": profile " + std::to_string(number) +
                                              " is not stored yet (taveloctl save " + std::to_string(number) +
                                              " stores it)");
    return *profile;
}

// For what is stored of a camera: a record that was not read would be stored as another value.
KTUVCManager& allControlsOf(Session& session, const std::shared_ptr<CaptureDevice>& camera) {
    KTUVCManager& manager = session.controlsOf(camera);
    if (!manager.recordsAreRead())
        throw Failure(ExitStatus::failed,
                      camera->localizedName() + ": it did not answer, so nothing was saved");
    return manager;
}

class ProfilesVerb final : public Verb {
public:
    const char* name() const override { return "profiles"; }
    const char* help() const override { return "Show the camera's stored profiles"; }
    void addOptions(CLI::App& /*command*/) override {}

    void run(Session& session) override {
        const auto camera = session.camera();
        const auto record =
            storedRecord(session.preferences(), camera_settings::keyForCamera(camera->uniqueID()));
        if (session.json())
            return session.printJson(
                {{QStringLiteral("camera"), QString::fromUtf8(camera->uniqueID())},
                 {QStringLiteral("profiles"), record ? profilesJson(*record) : QJsonArray()}});
        if (!record) return session.print("No profile is stored.\n");
        session.print(table(*record));
    }

private:
    static std::string table(const PreferencesArray& record) {
        TextTable table;
        std::vector<std::string> title{"PROFILE"};
        for (const std::string& name : profileEntryNames())
            title.push_back(name);
        table.add(std::move(title));
        for (std::int64_t i = 0; i < storedProfileCount; ++i) {
            const PreferencesDictionary* profile = profileAt(record, i);
            if (profile == nullptr) continue;
            std::vector<std::string> row{std::to_string(i + 1)};
            for (const std::string& name : profileEntryNames())
                row.push_back(profileEntryText(*profile, name));
            table.add(std::move(row));
        }
        return table.text();
    }
};

class ApplyVerb final : public Verb {
public:
    const char* name() const override { return "apply"; }
    const char* help() const override { return "Write a stored profile to the camera"; }
    void addOptions(CLI::App& command) override { addProfile(command, "profile", profile_); }

    void run(Session& session) override {
        const auto camera = session.camera();
        const PreferencesDictionary profile = requiredProfile(session, *camera, profile_);
        KTUVCManager& manager = session.controlsOf(camera);
        const std::vector<KTUVCControl> missing = pushSettingsAndWait(manager, profile, false);
        Session::checkIsThere(*camera, manager);
        if (missing.empty()) return;
        std::string names;
        for (const KTUVCControl control : missing)
            names += (names.empty() ? "" : ", ") + std::string(namedControl(control).name);
        throw Failure(ExitStatus::failed, camera->localizedName() + ": the camera did not take " + names);
    }

    std::vector<Candidate> candidates(Session& /*session*/, const std::vector<std::string>& words,
                                      const std::string& /*begun*/) override {
        return words.empty() ? profileCandidates() : std::vector<Candidate>();
    }

private:
    int profile_ = 0;
};

class SaveVerb final : public Verb {
public:
    const char* name() const override { return "save"; }
    const char* help() const override { return "Store the camera's current values in a profile"; }
    void addOptions(CLI::App& command) override {
        addProfile(command, "profile", profile_);
        command
            .add_option("--mirror", mirror_, "Whether the profile mirrors the picture; as it is if not given")
            ->check(CLI::IsMember({"on", "off"}))
            ->type_name("on|off");
    }

    void run(Session& session) override {
        const auto camera = session.camera();
        const std::string key = camera_settings::keyForCamera(camera->uniqueID());
        KTUVCManager& manager = allControlsOf(session, camera);
        const PreferencesDictionary defaults = camera_settings::defaults(manager);
        const auto record = storedRecord(session.preferences(), key);
        const PreferencesDictionary* stored = record ? profileAt(*record, profile_ - 1) : nullptr;
        PreferencesDictionary profile = stored != nullptr ? *stored : defaults;
        const bool mirror =
            mirror_.empty() ? camera_settings::boolean(profile, camera_settings::mirrorKey) : mirror_ == "on";
        camera_settings::storeCurrent(profile, manager, mirror);
        storeProfile(session.preferences(), key, profile_ - 1, profile, defaults);
        session.savePreferences();
    }

    std::vector<Candidate> candidates(Session& /*session*/, const std::vector<std::string>& words,
                                      const std::string& /*begun*/) override {
        return words.empty() ? profileCandidates() : std::vector<Candidate>();
    }

private:
    int profile_ = 0;
    std::string mirror_;
};

class CopyVerb final : public Verb {
public:
    const char* name() const override { return "copy"; }
    const char* help() const override { return "Copy a profile to another one, of this or another camera"; }
    void addOptions(CLI::App& command) override {
        addProfile(command, "from", from_);
        addProfile(command, "to", to_);
        command.add_option("--to-camera", toCamera_, "The camera that gets it; the same one if not given")
            ->type_name("CAMERA");
    }

    void run(Session& session) override {
        const auto camera = session.camera();
        const auto target = toCamera_.empty() ? camera : session.cameraNamed(toCamera_);
        const PreferencesDictionary profile = requiredProfile(session, *camera, from_);
        const std::string key = camera_settings::keyForCamera(target->uniqueID());
        const PreferencesDictionary others = storedRecord(session.preferences(), key)
                                                 ? PreferencesDictionary()
                                                 : camera_settings::defaults(allControlsOf(session, target));
        storeProfile(session.preferences(), key, to_ - 1, profile, others);
        session.savePreferences();
    }

    std::vector<Candidate> candidates(Session& /*session*/, const std::vector<std::string>& words,
                                      const std::string& /*begun*/) override {
        return words.size() < 2 ? profileCandidates() : std::vector<Candidate>();
    }

private:
    int from_ = 0;
    int to_ = 0;
    std::string toCamera_;
};

} // namespace

std::unique_ptr<Verb> makeProfilesVerb() {
    return std::make_unique<ProfilesVerb>();
}
std::unique_ptr<Verb> makeApplyVerb() {
    return std::make_unique<ApplyVerb>();
}
std::unique_ptr<Verb> makeSaveVerb() {
    return std::make_unique<SaveVerb>();
}
std::unique_ptr<Verb> makeCopyVerb() {
    return std::make_unique<CopyVerb>();
}

} // namespace tavelo
