// SPDX-License-Identifier: MIT
#include "platform/linux/pipewire/pipewire_sounds.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "platform/linux/pipewire/microphone_input.h"
#include "platform/linux/pipewire/microphone_search.h"
#include "platform/linux/pipewire/module/pipewire_socket.h"

namespace tavelo {
namespace {

using namespace std::chrono_literals;

// A daemon answers within milliseconds.
constexpr auto patience = 1s;

class PipewireSounds final : public SoundPlatform {
public:
    explicit PipewireSounds(std::function<std::shared_ptr<PipewireSession>()> session)
        : session_(std::move(session)) {}

    bool mayHaveMicrophones() const override { return pipewireMayRun(); }

    std::vector<Microphone> microphones(Error& error) override {
        std::vector<Microphone> microphones;
        for (auto& each : found(session_(), error))
            microphones.push_back(std::move(each.microphone));
        return microphones;
    }

    std::unique_ptr<SoundInput> open(const Microphone& microphone, Error& error) override {
        const auto session = session_();
        for (auto& each : found(session, error))
            if (each.microphone.name == microphone.name)
                return std::make_unique<MicrophoneInput>(session, std::move(each));
        if (error.code == ErrorCode::none)
            error = {ErrorCode::gone, "the microphone " + microphone.name + " was unplugged"};
        return nullptr;
    }

private:
    static std::vector<MicrophoneSearch::Found> found(const std::shared_ptr<PipewireSession>& session,
                                                      Error& error) {
        if (session) {
            if (auto microphones = MicrophoneSearch(session).find(patience)) return *microphones;
        }
        error = {ErrorCode::failed, "PipeWire, which brings the sound, does not answer"};
        return {};
    }

    const std::function<std::shared_ptr<PipewireSession>()> session_;
};

} // namespace

std::shared_ptr<SoundPlatform> makePipewireSounds(std::function<std::shared_ptr<PipewireSession>()> session) {
    return std::make_shared<PipewireSounds>(std::move(session));
}

} // namespace tavelo
