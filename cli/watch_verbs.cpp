// SPDX-License-Identifier: MIT
// taveloctl watch, monitor
#include <CLI/CLI.hpp>
#include <QEventLoop>
#include <cstdio>

#include "cli/json_output.h"
#include "cli/verbs.h"
#include "commands/camera_choice.h"
#include "process/error_line.h"
#include "process/qt_clock.h"
#include "process/quit_signals.h"
#include "profiles/stored_profiles.h"
#include "service/panel_client.h"
#include "watch/monitor.h"
#include "watch/monitor_lines.h"
#include "watch/profile_watch.h"

namespace tavelo {
namespace {

constexpr int mostLines = 1'000'000'000;

/// Runs until a signal asks for the end; prints lines as they come.
class Running {
public:
    explicit Running(Session& session) : session_(session) {
        QObject::connect(&signals_, &QuitSignals::asked, &loop_, &QEventLoop::quit);
    }

    void wait() {
        if (!hasEnded_) loop_.exec();
    }
    void end() {
        hasEnded_ = true;
        loop_.quit();
    }

    void print(const std::string& line) {
        session_.print(line);
        if (std::fflush(stdout) != 0) end(); // nobody reads it any more, which main() reports
    }

    WatchedCamerasParts cameras() {
        return {session_.backend(), session_.mainQueue(), clock_, chosenCameras()};
    }
    Clock& clock() { return clock_; }

private:
    // A camera that is there is meant for as long as this runs, whatever its number becomes; one that is not
    // is waited for.
    std::function<bool(const CaptureDevice&)> chosenCameras() {
        const std::string text = session_.options().camera;
        if (text.empty()) return {};
        std::string reason;
        if (const auto position = chooseCamera(session_.cameras(), text, reason)) {
            return [id = session_.cameras()[*position]->uniqueID()](const CaptureDevice& device) {
                return device.uniqueID() == id;
            };
        }
        printErrorLine(reason + "; waiting for it");
        return [this, text](const CaptureDevice& device) {
            std::string unused;
            const auto cameras = session_.capture().devicesWithMediaType(MediaType::video);
            const auto position = chooseCamera(cameras, text, unused);
            return position && cameras[*position].get() == &device;
        };
    }

    Session& session_;
    QEventLoop loop_;
    QuitSignals signals_;
    QtClock clock_;
    bool hasEnded_ = false;
};

std::vector<std::string> jsonLines(const MonitorEvent& event) {
    const auto object = [&](const char* kind) {
        return QJsonObject{{QStringLiteral("event"), QString::fromLatin1(kind)},
                           {QStringLiteral("camera"), QString::fromUtf8(event.camera)},
                           {QStringLiteral("name"), QString::fromUtf8(event.name)}};
    };
    if (event.kind == MonitorEvent::Kind::came) return {jsonLine(object("came"))};
    if (event.kind == MonitorEvent::Kind::went) return {jsonLine(object("went"))};
    std::vector<std::string> lines;
    for (const NamedControl& each : namedControls()) {
        const std::int64_t value = shareOf(each, event.value);
        if (each.control != event.control || value == shareOf(each, event.before)) continue;
        QJsonObject changed = object("changed");
        changed[QStringLiteral("control")] = QString::fromUtf8(each.name);
        changed[QStringLiteral("value")] = valueJson(each, value);
        lines.push_back(jsonLine(std::move(changed)));
    }
    return lines;
}

std::string jsonMessage(const std::string& line) {
    return jsonLine({{QStringLiteral("event"), QStringLiteral("profile")},
                     {QStringLiteral("message"), QString::fromUtf8(line)}});
}

std::vector<std::string> textLines(const MonitorEvent& event) {
    std::vector<std::string> lines = monitorLines(event);
    for (std::string& line : lines)
        line += '\n';
    return lines;
}

class MonitorVerb final : public Verb {
public:
    const char* name() const override { return "monitor"; }
    const char* help() const override {
        return "Print cameras that come and go, and controls that other programs change, until interrupted";
    }

    void addOptions(CLI::App& command) override {
        command.add_option("--count", count_, "End after this many lines")
            ->check(CLI::Range(1, mostLines))
            ->type_name("NUMBER");
    }

    void run(Session& session) override {
        Running running(session);
        MonitorOptions options;
        options.linesOf = session.json() ? jsonLines : textLines;
        options.print = [&](const std::string& line) { running.print(line); };
        options.finished = [&] { running.end(); };
        if (count_ > 0) options.count = count_;
        const Monitor monitor(running.cameras(), std::move(options));
        running.wait();
    }

private:
    std::size_t count_ = 0;
};

class WatchVerb final : public Verb {
public:
    const char* name() const override { return "watch"; }
    const char* help() const override {
        return "Write a stored profile to each camera that appears, and after a sleep, until interrupted";
    }

    void addOptions(CLI::App& command) override {
        command
            .add_option("profile", profile_,
                        "Number of the profile; the one selected in the panel if not given")
            ->check(CLI::Range(1, static_cast<int>(storedProfileCount)))
            ->type_name("PROFILE");
        command.add_flag("--keep", keep_,
                         "Put back what other programs change, while no panel shows a camera");
    }

    void run(Session& session) override {
        Running running(session);
        const PanelClient panel(PanelClient::sessionBusIfAny());
        const ProfileWatchParts parts{session.preferences(), running.clock(),
                                      [&panel] { return panel.panelShowsCamera(); },
                                      [&](const std::string& line) {
                                          running.print(session.json() ? jsonMessage(line) : line + '\n');
                                      }};
        ProfileWatchOptions options;
        if (profile_ > 0) options.profile = profile_ - 1;
        options.keep = keep_;
        const ProfileWatch watch(running.cameras(), parts, options);
        running.wait();
    }

    std::vector<Candidate> candidates(Session& /*session*/, const std::vector<std::string>& words,
                                      const std::string& /*begun*/) override {
        std::vector<Candidate> found;
        for (std::int64_t i = 1; words.empty() && i <= storedProfileCount; ++i)
            found.push_back({std::to_string(i)});
        return found;
    }

private:
    int profile_ = 0;
    bool keep_ = false;
};

} // namespace

std::unique_ptr<Verb> makeWatchVerb() {
    return std::make_unique<WatchVerb>();
}
std::unique_ptr<Verb> makeMonitorVerb() {
    return std::make_unique<MonitorVerb>();
}

} // namespace tavelo
