// SPDX-License-Identifier: MIT
// taveloctl probe
#include <sys/utsname.h>

#include <CLI/CLI.hpp>
#include <QJsonDocument>

#include "cli/json_output.h"
#include "cli/output_file.h"
#include "cli/verbs.h"
#include "probe/camera_probe.h"
#include "probe/json/pack.h"
#include "probe/json/report_json.h"
#include "probe/report_text.h"
#include "probe/video_function_search.h"

namespace tavelo {
namespace {

std::string kernelRelease() {
    utsname names{};
    return ::uname(&names) == 0 ? names.release : "unknown";
}

class ProbeVerb final : public Verb {
public:
    const char* name() const override { return "probe"; }
    const char* help() const override {
        return "Read all that the camera says of itself, what it answers, and where the two disagree";
    }
    void addOptions(CLI::App& command) override {
        command
            .add_option(
                "--pack", pack_,
                "Also write all of it to this file, to attach to a bug report (without serial number)")
            ->type_name("FILE");
    }

    void run(Session& session) override {
        const CameraRecord record = recordOf(session);
        if (!pack_.empty()) {
            const std::string pack = writePack(record);
            if (pack.size() > longestPack)
                throw Failure(ExitStatus::failed, "the camera answers too much for a pack");
            writeOutputFile(pack_, pack);
        }
        if (!session.json()) return session.print(reportText(record));
        QJsonObject report = QJsonDocument::fromJson(QByteArray::fromStdString(reportJson(record))).object();
        report.insert(QStringLiteral("camera"), QString::fromUtf8(session.camera()->uniqueID()));
        session.printJson(report);
    }

private:
    static CameraRecord recordOf(Session& session) {
        const auto camera = session.camera();
        const FoundVideoFunction found = findVideoFunction(session.usb(), camera->uniqueID());
        if (!found.device)
            throw Failure(ExitStatus::failed,
                          camera->localizedName() + ": it is no USB camera, there is nothing to probe");
        Error error;
        auto record =
            probeCamera(*found.device, found.controlInterface, {TAVELO_VERSION, kernelRelease()}, error);
        if (record) return std::move(*record);
        if (error.code == ErrorCode::gone)
            throw Failure(ExitStatus::noCamera, camera->localizedName() + ": " + error.text);
        session.failToReach(*camera, error.text);
    }

    std::string pack_;
};

} // namespace

std::unique_ptr<Verb> makeProbeVerb() {
    return std::make_unique<ProbeVerb>();
}

} // namespace tavelo
