// SPDX-License-Identifier: MIT
// taveloctl export, import
#include <CLI/CLI.hpp>
#include <QFile>

#include "cli/output_file.h"
#include "cli/profile_file.h"
#include "cli/verbs.h"
#include "platform/linux/whole_file.h"
#include "profiles/camera_settings.h"
#include "profiles/stored_profiles.h"

namespace tavelo {
namespace {

constexpr std::size_t mostBytes = std::size_t(1) << 20;

class ExportVerb final : public Verb {
public:
    const char* name() const override { return "export"; }
    const char* help() const override {
        return "Write the camera's profiles, or with --all those of every camera, to a file or the output";
    }
    void addOptions(CLI::App& command) override {
        command.add_option("file", file_, "The file to write; the output if not given")->type_name("FILE");
        command.add_flag("--all", all_, "The profiles of all cameras, those that are not plugged in too");
    }

    void run(Session& session) override {
        std::map<std::string, PreferencesArray> records;
        for (const std::string& camera : wanted(session))
            if (auto record = storedRecord(session.preferences(), camera_settings::keyForCamera(camera)))
                records[camera] = std::move(*record);
        if (records.empty()) throw Failure(ExitStatus::failed, "no profile is stored");
        const std::string text = profileFile(records).toStdString();
        if (file_.empty()) return session.print(text);
        writeOutputFile(file_, text);
    }

private:
    std::vector<std::string> wanted(Session& session) const {
        if (all_) return camerasWithProfiles(session.preferences());
        return {session.camera()->uniqueID()};
    }

    std::string file_;
    bool all_ = false;
};

class ImportVerb final : public Verb {
public:
    const char* name() const override { return "import"; }
    const char* help() const override {
        return "Store the profiles of a file, each with its camera, or those of one camera with --camera";
    }
    void addOptions(CLI::App& command) override {
        command.add_option("file", file_, "A file that export wrote")->required()->type_name("FILE");
    }

    void run(Session& session) override {
        Error error;
        const auto content = readWholeFile(file_, mostBytes, error);
        if (!content) throw Failure(ExitStatus::failed, file_ + ": cannot be read: " + error.text);
        if (!content->exists) throw Failure(ExitStatus::failed, file_ + ": there is no such file");
        std::string reason;
        auto cameras = readProfileFile(QByteArray::fromStdString(content->bytes), reason);
        if (!cameras) throw Failure(ExitStatus::failed, file_ + ": " + reason);
        if (!session.options().camera.empty()) {
            if (cameras->size() != 1)
                throw Failure(ExitStatus::failed, file_ + ": holds " + std::to_string(cameras->size()) +
                                                      " cameras; --camera needs a file with one");
            cameras = ProfilesOfCameras{{session.camera()->uniqueID(), cameras->begin()->second}};
        }
        for (const auto& [camera, profiles] : *cameras) {
            const std::string key = camera_settings::keyForCamera(camera);
            session.preferences().setObject(
                {withProfiles(storedRecord(session.preferences(), key), profiles)}, key);
        }
        session.savePreferences();
    }

private:
    std::string file_;
};

} // namespace

std::unique_ptr<Verb> makeExportVerb() {
    return std::make_unique<ExportVerb>();
}
std::unique_ptr<Verb> makeImportVerb() {
    return std::make_unique<ImportVerb>();
}

} // namespace tavelo
