// SPDX-License-Identifier: MIT
#include "platform/linux/pipewire/module/late_sounds.h"

#include <utility>

#include "platform/linux/pipewire/module/pipewire_socket.h"

namespace tavelo {
namespace {

class LateSounds final : public SoundPlatform {
public:
    explicit LateSounds(std::shared_ptr<LatePipewire> pipewire) : pipewire_(std::move(pipewire)) {}

    bool mayHaveMicrophones() const override { return pipewireMayRun(); }

    std::vector<Microphone> microphones(Error& error) override {
        const auto sounds = loaded(error);
        return sounds ? sounds->microphones(error) : std::vector<Microphone>();
    }

    std::unique_ptr<SoundInput> open(const Microphone& microphone, Error& error) override {
        const auto sounds = loaded(error);
        return sounds ? sounds->open(microphone, error) : nullptr;
    }

private:
    std::shared_ptr<SoundPlatform> loaded(Error& error) {
        const auto platform = pipewire_->get();
        if (!platform) error = {ErrorCode::failed, "PipeWire, which brings the sound, is not there"};
        return platform ? platform->makeSounds() : nullptr;
    }

    const std::shared_ptr<LatePipewire> pipewire_;
};

} // namespace

std::shared_ptr<SoundPlatform> makeLateSounds(std::shared_ptr<LatePipewire> pipewire) {
    return std::make_shared<LateSounds>(std::move(pipewire));
}

} // namespace tavelo
