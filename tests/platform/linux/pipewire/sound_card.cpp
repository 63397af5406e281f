// SPDX-License-Identifier: MIT
#include "platform/linux/pipewire/sound_card.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace tavelo::testing {
namespace {

/// Valid as long as the properties are.
std::vector<spa_dict_item> itemsOf(const SoundCard::Properties& properties) {
    std::vector<spa_dict_item> items;
    for (const auto& [key, value] : properties)
        items.push_back({key.c_str(), value.c_str()});
    return items;
}

spa_dict dictionaryOf(const std::vector<spa_dict_item>& items) {
    return {0, static_cast<std::uint32_t>(items.size()), items.data()};
}

} // namespace

const spa_device_methods SoundCard::methods = [] {
    spa_device_methods made{};
    made.version = SPA_VERSION_DEVICE_METHODS;
    made.add_listener = [](void* card, spa_hook* listener, const spa_device_events* events, void* data) {
        return static_cast<SoundCard*>(card)->addListener(*listener, *events, data);
    };
    return made;
}();

SoundCard::SoundCard(Properties properties)
    : properties_(std::move(properties)),
      session_(PipewireSession::open()) {
    const auto lock = session_->lock();
    spa_hook_list_init(&listeners_);
    device_.iface = {SPA_TYPE_INTERFACE_Device, SPA_VERSION_DEVICE, {&methods, this}};
    const auto items = itemsOf(properties_);
    const spa_dict dictionary = dictionaryOf(items);
    proxy_.reset(pw_core_export(session_->core(), SPA_TYPE_INTERFACE_Device, &dictionary, &device_, 0));
    EXPECT_NE(proxy_, nullptr);
}

SoundCard::~SoundCard() {
    const auto lock = session_->lock();
    proxy_.reset();
}

std::string SoundCard::id() const {
    const auto lock = session_->lock();
    const std::uint32_t id = pw_proxy_get_bound_id(proxy_.get());
    return id == SPA_ID_INVALID ? std::string() : std::to_string(id);
}

int SoundCard::addListener(spa_hook& listener, const spa_device_events& events, void* data) {
    spa_hook_list_append(&listeners_, &listener, &events, data);
    const auto items = itemsOf(properties_);
    const spa_dict dictionary = dictionaryOf(items);
    spa_device_info info{};
    info.version = SPA_VERSION_DEVICE_INFO;
    info.change_mask = SPA_DEVICE_CHANGE_MASK_PROPS;
    info.props = &dictionary;
    if (events.info != nullptr) events.info(data, &info);
    return 0;
}

} // namespace tavelo::testing
