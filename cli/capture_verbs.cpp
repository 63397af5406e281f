// SPDX-License-Identifier: MIT
// taveloctl snapshot, record
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <QCoreApplication>
#include <cerrno>
#include <charconv>
#include <optional>
#include <system_error>

#include "cli/panel_capture.h"
#include "cli/verbs.h"

namespace tavelo {
namespace {

/// The control panel takes stills and movies without a window; it takes this process's place.
class PanelCall {
public:
    PanelCall(const Session& session, const std::string& option, const std::string& file) {
        add(option, file);
        const CameraOptions& cameras = session.options().cameras;
        if (cameras.virtualCameras > 0) add("--virtual-cameras", std::to_string(cameras.virtualCameras));
        if (!session.options().like.empty()) add("--like", session.options().like);
        if (!session.hasVirtualCameras()) // virtual ones have no transport
            for (const TransportDescription& each : cameraTransports())
                if (each.transport == cameras.transport) add("--transport", each.name);
        if (session.options().verbose) arguments_.emplace_back("--verbose");
    }

    void add(const std::string& option, const std::string& value) {
        arguments_.push_back(option);
        arguments_.push_back(value);
    }
    void addFlag(const std::string& option) { arguments_.push_back(option); }

    [[noreturn]] void replaceProcess() {
        const std::string name = "tavelo-control-panel";
        const std::string beside = QCoreApplication::applicationDirPath().toStdString() + "/" + name;
        std::string self = "taveloctl"; // what the program calls itself in its messages
        std::vector<char*> words{self.data()};
        for (std::string& each : arguments_)
            words.push_back(each.data());
        words.push_back(nullptr);
        ::execv(beside.c_str(), words.data());
        ::execvp(name.c_str(), words.data());
        throw Failure(ExitStatus::failed, name + " takes the picture, and cannot be started: " +
                                              std::generic_category().message(errno) + " (install it)");
    }

private:
    std::vector<std::string> arguments_;
};

class CaptureVerb : public Verb {
protected:
    void addCaptureOptions(CLI::App& command) {
        command.add_option("file", file_, "The file to write")->required()->type_name("FILE");
        command.add_flag("--mirror", mirror_, "Mirror the picture");
        command.add_option("--size", size_, "Size, such as 1280x720")->type_name("WIDTHxHEIGHT");
        command.add_option("--fps", rate_, "Frames in a second")->type_name("RATE");
        command.add_option("--format", format_, "Pixel format, such as MJPG")->type_name("FORMAT");
        command.add_option("--picture", source_, "Where it comes from: auto, pipewire or v4l2")
            ->type_name("NAME");
    }

    PanelCall call(Session& session, const std::string& option) const {
        const auto camera = session.camera();
        Error error;
        camera->makeInput(error);
        if (error.code != ErrorCode::none)
            throw Failure(statusOf(error.code), camera->localizedName() + ": " + error.text);
        PanelCall panel(session, option, file_);
        panel.add("--camera", camera->uniqueID());
        if (mirror_) panel.addFlag("--mirror");
        if (!size_.empty()) panel.add("--size", size_);
        if (!rate_.empty()) panel.add("--fps", rate_);
        if (!format_.empty()) panel.add("--format", format_);
        if (!source_.empty()) panel.add("--picture", source_);
        return panel;
    }

    const std::string& file() const { return file_; }

    /// Whether the picture that a panel shows is what the user wants: it cannot be changed for one file.
    bool takesPicturesAsTheyAre() const {
        return !file_.empty() && !mirror_ && size_.empty() && rate_.empty() && format_.empty() &&
               source_.empty();
    }

private:
    std::string file_;
    bool mirror_ = false;
    std::string size_;
    std::string rate_;
    std::string format_;
    std::string source_;
};

class SnapshotVerb final : public CaptureVerb {
public:
    const char* name() const override { return "snapshot"; }
    const char* help() const override { return "Write a picture of the camera to a PNG file"; }
    void addOptions(CLI::App& command) override { addCaptureOptions(command); }
    void run(Session& session) override {
        if (takesPicturesAsTheyAre() && snapshotThroughPanel(session, file())) return;
        call(session, "--snapshot").replaceProcess();
    }
};

class RecordVerb final : public CaptureVerb {
public:
    const char* name() const override { return "record"; }
    const char* help() const override { return "Record a movie until Ctrl+C, or for --duration seconds"; }
    void addOptions(CLI::App& command) override {
        addCaptureOptions(command);
        command.add_option("--duration", duration_, "How long, in seconds")->type_name("SECONDS");
        command
            .add_option("--sound", sound_,
                        "off, auto (the camera's own microphone, if it has one), or a microphone's name")
            ->type_name("NAME");
    }
    void run(Session& session) override {
        if (const auto seconds = length();
            seconds && takesPicturesAsTheyAre() && recordThroughPanel(session, file(), *seconds, sound_))
            return;
        PanelCall panel = call(session, "--record");
        if (!duration_.empty()) panel.add("--duration", duration_);
        if (!sound_.empty()) panel.add("--sound", sound_);
        panel.replaceProcess();
    }

private:
    // 0 for no limit; nothing if it is no number, which the control panel then explains.
    std::optional<double> length() const {
        if (duration_.empty()) return 0;
        double seconds = 0;
        const auto [end, error] =
            std::from_chars(duration_.data(), duration_.data() + duration_.size(), seconds);
        const bool isNumber = error == std::errc() && end == duration_.data() + duration_.size();
        return isNumber && seconds > 0 ? std::optional(seconds) : std::nullopt;
    }

    std::string duration_;
    std::string sound_;
};

} // namespace

std::unique_ptr<Verb> makeSnapshotVerb() {
    return std::make_unique<SnapshotVerb>();
}
std::unique_ptr<Verb> makeRecordVerb() {
    return std::make_unique<RecordVerb>();
}

} // namespace tavelo
