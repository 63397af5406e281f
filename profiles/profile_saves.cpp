// SPDX-License-Identifier: MIT
#include "profiles/profile_saves.h"

#include <algorithm>
#include <iterator>
#include <list>
#include <utility>

namespace tavelo {
namespace {

/// A save that is not on the disk yet.
struct Save {
    std::string key;
    std::size_t position;
    PreferencesValue before; // valid once earlier saves of the same profile have ended
    PreferencesValue after;
};

} // namespace

struct ProfileSaves::State {
    explicit State(PreferencesStore& preferences) : store(preferences) {}

    void put(const std::string& key, std::size_t position, const PreferencesValue& profile,
             PreferencesValue* before = nullptr) {
        auto object = store.objectForKey(key);
        auto* record = object ? std::get_if<PreferencesArray>(&object->value) : nullptr;
        if (record == nullptr || position >= record->size()) return;
        if (before != nullptr) *before = (*record)[position];
        (*record)[position] = profile;
        store.setObject(*object, key);
    }

    void end(std::list<Save>::iterator ended, bool saved) {
        const auto next = std::find_if(std::next(ended), saves.end(), [ended](const Save& other) {
            return other.key == ended->key && other.position == ended->position;
        });
        if (next != saves.end())
            next->before = saved ? ended->after : ended->before;
        else if (!saved)
            put(ended->key, ended->position, ended->before);
        saves.erase(ended);
    }

    PreferencesStore& store;
    std::list<Save> saves; // oldest first
};

ProfileSaves::ProfileSaves(PreferencesStore& store) : state_(std::make_shared<State>(store)) {}

ProfileSaves::~ProfileSaves() = default;

void ProfileSaves::save(const std::string& key, std::size_t position, const PreferencesDictionary& profile,
                        std::function<void(bool saved)> ended) {
    const auto save = state_->saves.insert(
        state_->saves.end(), Save{.key = key, .position = position, .before = {}, .after = {profile}});
    state_->put(key, position, save->after, &save->before);
    state_->store.synchronize([weak = std::weak_ptr(state_), save, ended = std::move(ended)](bool saved) {
        const auto state = weak.lock();
        if (!state) return;
        state->end(save, saved);
        ended(saved);
    });
}

} // namespace tavelo
