// SPDX-License-Identifier: MIT
// A sound card in PipeWire, of which microphones are parts.
#pragma once

#include <pipewire/impl.h>
#include <spa/monitor/device.h>
#include <spa/utils/hook.h>

#include <map>
#include <memory>
#include <string>

#include "platform/linux/pipewire/pipewire_session.h"

namespace tavelo::testing {

/// Unplugged when it is destroyed.
class SoundCard final {
public:
    using Properties = std::map<std::string, std::string>;

    explicit SoundCard(Properties properties);
    ~SoundCard();
    SoundCard(const SoundCard&) = delete;
    SoundCard& operator=(const SoundCard&) = delete;

    /// Its number among PipeWire's objects; nothing until the daemon knows it.
    std::string id() const;

private:
    static const spa_device_methods methods;

    int addListener(spa_hook& listener, const spa_device_events& events, void* data);

    const Properties properties_;
    const std::shared_ptr<PipewireSession> session_;
    spa_hook_list listeners_{};
    spa_device device_{};
    PipewirePtr<pw_proxy> proxy_;
};

} // namespace tavelo::testing
