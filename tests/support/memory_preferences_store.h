// SPDX-License-Identifier: MIT
// A preferences store that forgets.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "platform/preferences_store.h"

namespace tavelo {

class MemoryPreferencesStore final : public PreferencesStore {
public:
    std::optional<PreferencesValue> objectForKey(std::string_view key) const override {
        const auto found = values_.find(std::string(key));
        if (found == values_.end()) return {};
        return found->second;
    }

    void setObject(const PreferencesValue& value, std::string_view key) override {
        values_[std::string(key)] = value;
        flushed_ = false;
    }

    bool synchronize() override {
        flushed_ = true;
        ++synchronizations_;
        return true;
    }

    bool empty() const { return values_.empty(); }
    std::size_t size() const { return values_.size(); }
    /// Whether every write so far was followed by a flush.
    bool flushed() const { return flushed_; }
    int synchronizations() const { return synchronizations_; }

private:
    std::map<std::string, PreferencesValue> values_;
    bool flushed_ = true;
    int synchronizations_ = 0;
};

} // namespace tavelo
