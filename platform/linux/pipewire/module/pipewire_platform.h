// SPDX-License-Identifier: MIT
// What the module of PipeWire offers to the program that loads it.
#pragma once

#include <memory>
#include <string>

#include "platform/diagnostics.h"
#include "platform/linux/pipewire/module/pipewire_grant.h"
#include "platform/linux/pipewire/module/shared_camera.h"
#include "platform/picture_share.h"
#include "platform/sound_source.h"

namespace tavelo {

/// Makes what goes over PipeWire; all of it shares one connection to the daemon.  Thread-safe.  What it makes
/// may outlive it.
class PipewirePlatform {
public:
    virtual ~PipewirePlatform() = default;

    /// A camera's picture as the daemon has it; what is not there yet may come.
    /// @param node "/dev/video0"
    /// @return null if the library cannot be used
    virtual std::unique_ptr<SharedCamera> makeSharedCamera(const std::string& node) = 0;
    /// Null if the library cannot be used.
    virtual std::shared_ptr<PictureShare> makePictureShare(const std::string& cameraName) = 0;

    /// The microphones.  Never null; asking them connects to the daemon.
    virtual std::shared_ptr<SoundPlatform> makeSounds() = 0;
};

/// The module's file, and the name of its only function.
inline constexpr const char* pipewireModuleFile = "tavelo-pipewire.so";
inline constexpr const char* pipewireModuleFunction = "taveloMakePipewire";
/// Makes nothing for a program of another version, whose classes may have another layout.
/// @param diagnostics must outlive what is made
/// @param ask         may be empty
using PipewireModuleFunction = void(const char* version, Diagnostics& diagnostics, const AskForPipewire& ask,
                                    std::shared_ptr<PipewirePlatform>& made);

} // namespace tavelo
