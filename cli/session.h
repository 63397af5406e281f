// SPDX-License-Identifier: MIT
// What the verbs of taveloctl work with: cameras, controls, stored settings, output.
#pragma once

#include <QJsonObject>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "cli/failure.h"
#include "commands/control_catalog.h"
#include "platform/backends/backends.h"
#include "platform/diagnostics.h"
#include "platform/main_queue.h"
#include "platform/preferences_store.h"
#include "uvc/kt_uvc_manager.h"

namespace tavelo {

/// The most that --virtual-cameras takes.
inline constexpr int mostVirtualCameras = 8;

/// The options that every verb has.
struct SessionOptions {
    CameraOptions cameras;
    std::string like;   ///< a camera pack that virtual cameras are like; empty: the program's own
    std::string camera; ///< which one; see chooseCamera()
    bool json = false;
    bool verbose = false;
};

/// Where a session's parts come from; tests replace them.
struct SessionEnvironment {
    MainQueue& mainQueue;
    std::function<Backend(const CameraOptions& options, Diagnostics& diagnostics)> makeCameras;
    std::function<std::unique_ptr<PreferencesStore>()> makePreferences;
    /// Receives all output, in pieces.
    std::function<void(std::string_view text)> print;
    /// Receives what the user must know beside that, line for line; may be empty.
    std::function<void(const std::string& line)> warn = {};
    /// Reads the descriptions of extension units; empty: there are none.
    std::function<std::vector<ExtensionControl>(const std::function<void(const std::string& line)>& warn)>
        readDescriptions = {};
};

/// One call of taveloctl.  Everything is made when it is first asked for.  Main thread only; whatever fails
/// throws Failure.
class Session {
public:
    Session(SessionOptions options, const SessionEnvironment& environment);
    ~Session() = default;

    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    const SessionOptions& options() const { return options_; }
    bool json() const { return options_.json; }
    bool hasVirtualCameras() const { return options_.cameras.virtualCameras > 0 || !options_.like.empty(); }

    const std::vector<std::shared_ptr<CaptureDevice>>& cameras();
    CapturePlatform& capture();
    Backend& backend();
    MainQueue& mainQueue() { return environment_.mainQueue; }
    UsbPlatform& usb();
    /// May be null.
    std::shared_ptr<SoundPlatform> sounds();

    /// The camera that the user chose.
    std::shared_ptr<CaptureDevice> camera();
    std::shared_ptr<CaptureDevice> cameraNamed(std::string_view text);

    /// The controls of a camera, read as far as it answers.  It has some of the class.  One camera is bound
    /// at a time.
    KTUVCManager& controlsOf(const std::shared_ptr<CaptureDevice>& camera);
    /// The same of the chosen camera, also if its only controls are those of a described extension unit.
    KTUVCManager& anyControls();

    /// The class's controls and those of described extension units.
    const ControlCatalog& catalog();
    /// Null if no control has this name.  If it depends on the camera, that of the chosen one.
    const NamedControl* controlNamed(std::string_view name);
    /// The same without looking at the camera: with several units' controls of this name, any of them.
    const NamedControl* controlOfAnyCamera(std::string_view name);

    /// Fails with the reason why a camera cannot be opened.
    /// @param otherwise the reason if it can
    [[noreturn]] static void failToReach(CaptureDevice& camera, const std::string& otherwise);

    /// Fails if the camera was found to be unplugged: what is known of it is not whole.
    static void checkIsThere(const CaptureDevice& camera, const KTUVCManager& manager);

    PreferencesStore& preferences();
    /// Waits until everything that was set is on the disk.
    void savePreferences();

    /// Prints a text as it is.
    void print(std::string_view text) { environment_.print(text); }
    /// Prints an object in one line, with the version of its schema.
    void printJson(QJsonObject object);

    /// Tells the user a line beside the output.
    void warn(const std::string& line) const;

private:
    KTUVCManager& bound(const CaptureDevice& camera);

    const SessionOptions options_;
    const SessionEnvironment& environment_;
    std::unique_ptr<Diagnostics> diagnostics_;
    std::unique_ptr<Backend> backend_;
    std::vector<std::shared_ptr<CaptureDevice>> cameras_;
    bool hasListed_ = false;
    std::unique_ptr<KTUVCManager> manager_; // uses the backend until its end
    std::unique_ptr<const ControlCatalog> catalog_;
    std::unique_ptr<PreferencesStore> preferences_;
};

} // namespace tavelo
