// SPDX-License-Identifier: MIT
// A preferences store without a file.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/main_queue.h"
#include "platform/preferences_store.h"

namespace tavelo {

/// A full store whose "disk" is in memory and can be made to fail.
class MemoryPreferencesStore final : public PreferencesStore {
public:
    explicit MemoryPreferencesStore(MainQueue& mainQueue) : mainQueue_(mainQueue) {}
    ~MemoryPreferencesStore() override { *alive_ = false; }

    MemoryPreferencesStore(const MemoryPreferencesStore&) = delete;
    MemoryPreferencesStore& operator=(const MemoryPreferencesStore&) = delete;

    std::optional<PreferencesValue> objectForKey(std::string_view key) const override {
        return find(values_, key);
    }

    void setObject(const PreferencesValue& value, std::string_view key) override {
        values_[std::string(key)] = value;
        flushed_ = false;
    }

    void setObjectIfMissing(const PreferencesValue& value, std::string_view key) override {
        if (!objectForKey(key)) setObject(value, key);
    }

    std::vector<std::string> keys() const override {
        std::vector<std::string> names;
        for (const auto& [name, value] : values_)
            names.push_back(name);
        return names;
    }

    void synchronize(SynchronizeHandler handler) override {
        flushed_ = true;
        ++synchronizations_;
        waiting_.push_back(std::move(handler));
        if (!writing_) writeWaiting();
    }

    /// Makes all writes fail, or work again.
    void setFails(bool fails) { fails_ = fails; }

    bool empty() const { return values_.empty(); }
    std::size_t size() const { return values_.size(); }
    /// The value on the disk, which may differ from the value set.
    std::optional<PreferencesValue> onDisk(std::string_view key) const { return find(disk_, key); }
    /// Whether every write so far was followed by a flush.
    bool flushed() const { return flushed_; }
    int synchronizations() const { return synchronizations_; }

private:
    using Values = std::map<std::string, PreferencesValue>;

    static std::optional<PreferencesValue> find(const Values& values, std::string_view key) {
        const auto found = values.find(std::string(key));
        return found != values.end() ? std::optional(found->second) : std::nullopt;
    }

    template <typename F>
    void post(F function) {
        mainQueue_.post([alive = alive_, function = std::move(function)] {
            if (*alive) function();
        });
    }

    void writeWaiting() {
        writing_ = !waiting_.empty();
        if (!writing_) return;
        const bool saved = !fails_;
        if (saved) disk_ = values_;
        for (SynchronizeHandler& handler : std::exchange(waiting_, {})) {
            if (handler) post([handler = std::move(handler), saved] { handler(saved); });
        }
        post([this] { writeWaiting(); });
    }

    MainQueue& mainQueue_;
    const std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
    Values values_;
    Values disk_;
    bool fails_ = false;
    bool flushed_ = true;
    int synchronizations_ = 0;
    bool writing_ = false; // until the handlers have been called
    std::vector<SynchronizeHandler> waiting_;
};

} // namespace tavelo
