// SPDX-License-Identifier: MIT
#include "platform/linux/pipewire/library_platform.h"

#include <mutex>
#include <utility>

#include "platform/linux/pipewire/library_picture_share.h"
#include "platform/linux/pipewire/pipewire_camera.h"
#include "platform/linux/pipewire/pipewire_session.h"
#include "platform/linux/pipewire/pipewire_sounds.h"

namespace tavelo {
namespace {

class LibraryPlatform final : public PipewirePlatform, public std::enable_shared_from_this<LibraryPlatform> {
public:
    LibraryPlatform(Diagnostics& diagnostics, AskForPipewire ask)
        : diagnostics_(diagnostics),
          ask_(std::move(ask)) {}

    std::unique_ptr<SharedCamera> makeSharedCamera(const std::string& node) override {
        auto shared = session();
        return shared ? std::make_unique<PipewireCamera>(std::move(shared), node) : nullptr;
    }

    std::shared_ptr<PictureShare> makePictureShare(const std::string& cameraName) override {
        auto session = this->session();
        return session ? makePipewirePictureShare(std::move(session), cameraName) : nullptr;
    }

    std::shared_ptr<SoundPlatform> makeSounds() override {
        return makePipewireSounds([self = shared_from_this()] { return self->session(); });
    }

private:
    /// The connection that all share; it ends with the last of them.  Null if the library cannot be used.
    std::shared_ptr<PipewireSession> session() {
        const std::lock_guard lock(mutex_);
        auto session = session_.lock();
        if (!session) {
            session = PipewireSession::open(ask_);
            session_ = session;
            if (!session) diagnostics_.report("PipeWire", "the library cannot be used");
        }
        return session;
    }

    Diagnostics& diagnostics_;
    const AskForPipewire ask_;
    std::mutex mutex_; // guards session_
    std::weak_ptr<PipewireSession> session_;
};

} // namespace

std::shared_ptr<PipewirePlatform> makePipewirePlatform(Diagnostics& diagnostics, AskForPipewire ask) {
    return std::make_shared<LibraryPlatform>(diagnostics, std::move(ask));
}

} // namespace tavelo
