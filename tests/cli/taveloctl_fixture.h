// SPDX-License-Identifier: MIT
// Calls of taveloctl on virtual cameras that stay between the calls.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "cli/taveloctl.h"
#include "commands/control_names.h"
#include "extensions/json/description_folders.h"
#include "platform/linux/preferences/json_preferences_store.h"
#include "platform/virtual/backend.h"
#include "process/qt_main_queue.h"
#include "support/intercepted_usb.h"
#include "support/temporary_folder.h"

namespace tavelo {

struct Called {
    int status = 0;
    std::string output;
    std::string error;
    std::vector<std::string> warnings;
};

class TaveloctlTest : public ::testing::Test {
protected:
    void plug(int number) { plug(virtualCameraModel(number)); }
    void plug(const VirtualCameraModel& model) { bus_->plug(model); }
    std::shared_ptr<VirtualCameraFirmware> camera(int number) { return bus_->camera(number); }

    Called call(const std::vector<std::string>& arguments) {
        Called called;
        virtualCameras_ = -1;
        const SessionEnvironment environment{
            .mainQueue = mainQueue_,
            .makeCameras = [this](const CameraOptions& options, Diagnostics& /*diagnostics*/) -> Backend {
                virtualCameras_ = options.virtualCameras;
                Backend backend = makeVirtualBackend(bus_, options.format, mainQueue_);
                backend.sound = sounds_;
                auto usb = std::make_unique<testing::InterceptedUsb>(std::move(backend.usb));
                usb->setHooks({.before = [this](const UsbControlRequest& /*request*/, std::size_t number) {
                    if (beforeRequest_) beforeRequest_(number);
                }});
                backend.usb = std::move(usb);
                return backend;
            },
            .makePreferences =
                [this] {
                    return std::make_unique<JsonPreferencesStore>(mainQueue_,
                                                                  QString::fromStdString(preferencesFile()));
                },
            .print = [&called](std::string_view text) { called.output += text; },
            .warn = [&called](const std::string& line) { called.warnings.push_back(line); },
            .readDescriptions =
                [this](const std::function<void(const std::string&)>& warn) {
                    const std::array<std::filesystem::path, 2> folders{DESCRIPTIONS_FOLDER, file("units")};
                    return readDescriptions(folders, isClassControl, warn);
                }};
        called.status = runTaveloctl(arguments, "1.2.3 (abc)", environment, called.error);
        return called;
    }

    /// The output of a call that must succeed.
    std::string output(const std::vector<std::string>& arguments) {
        const Called called = call(arguments);
        EXPECT_EQ(called.status, 0) << called.error;
        EXPECT_EQ(called.error, "");
        return called.output;
    }

    /// Status and message of a call that must fail and print nothing.
    std::string failure(const std::vector<std::string>& arguments) {
        const Called called = call(arguments);
        EXPECT_NE(called.status, 0);
        EXPECT_EQ(called.output, "");
        return std::to_string(called.status) + ": " + called.error;
    }

    /// How many the last call asked for; -1 if it used no cameras.
    int virtualCameras() const { return virtualCameras_; }

    std::string preferencesFile() const { return file("preferences.json"); }
    std::string file(const std::string& name) const { return (folder_.path() / name).string(); }

    static std::string read(const std::string& path) {
        std::ifstream stream(path, std::ios::binary);
        std::ostringstream text;
        text << stream.rdbuf();
        return text.str();
    }
    static void write(const std::string& path, const std::string& text) {
        std::ofstream(path, std::ios::binary) << text;
    }

    /// Compares with a file in tests/cli/golden; with UPDATE_GOLDEN set, writes it instead.
    static void expectGolden(const std::string& name, const std::string& text) {
        const std::string path = std::string(GOLDEN_FOLDER "/") + name;
        if (std::getenv("UPDATE_GOLDEN") != nullptr) write(path, text);
        EXPECT_EQ(text, read(path)) << name;
    }

    std::shared_ptr<SoundPlatform> sounds_; ///< the machine's; null: none
    /// Called before each request to a camera with its number in the call, from 1; may be empty.
    std::function<void(std::size_t number)> beforeRequest_;

private:
    testing::TemporaryFolder folder_;
    int virtualCameras_ = -1;
    QtMainQueue mainQueue_;
    std::shared_ptr<VirtualBus> bus_ = std::make_shared<VirtualBus>();
};

} // namespace tavelo
