// SPDX-License-Identifier: MIT
#include "cli/panel_capture.h"

#include <filesystem>
#include <optional>
#include <system_error>

#include "cli/running_panel.h"
#include "process/quit_signals.h"

namespace tavelo {
namespace {

// As the panel needs it.  Nothing if the bus cannot carry it, because it is no UTF-8.
std::optional<std::string> pathForPanel(const std::string& file) {
    std::error_code error;
    const std::string path = std::filesystem::absolute(file, error).string();
    const bool isText = QString::fromStdString(path).toStdString() == path;
    return !error && isText ? std::optional(path) : std::nullopt;
}

/// @return whether the panel did it
bool settle(const std::optional<ServiceError>& error, const std::string& file) {
    if (!error) return true;
    // Without the camera in the panel, what is plugged in decides.
    if (error->kind == ServiceError::Kind::notShown || error->kind == ServiceError::Kind::noSuchCamera)
        return false;
    throw Failure(exitStatusOf(error->kind), file + ": " + error->text);
}

} // namespace

bool snapshotThroughPanel(Session& session, const std::string& file) {
    const auto path = pathForPanel(file);
    const auto panel = path ? runningPanel(session) : nullptr;
    return panel && settle(panel->snapshot(session.options().camera, *path), file);
}

bool recordThroughPanel(Session& session, const std::string& file, double seconds, const std::string& sound) {
    const auto path = pathForPanel(file);
    const auto panel = path ? runningPanel(session) : nullptr;
    if (!panel) return false;
    const QuitSignals quitSignals;
    QObject::connect(&quitSignals, &QuitSignals::asked, panel.get(), &PanelClient::stop);
    if (!settle(panel->record(session.options().camera, *path, seconds, sound), file)) return false;
    if (const std::string note = panel->note(); !note.empty()) session.warn(file + ": " + note);
    return true;
}

} // namespace tavelo
