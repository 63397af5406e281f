// SPDX-License-Identifier: MIT
// Values kept between runs.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace tavelo {

/// A value of the store.  Integers keep 64 bits, and a boolean stays one.
struct PreferencesValue;
using PreferencesArray = std::vector<PreferencesValue>;
using PreferencesDictionary = std::map<std::string, PreferencesValue>;

struct PreferencesValue {
    std::variant<bool, std::int64_t, double, std::string, PreferencesArray, PreferencesDictionary> value;

    friend bool operator==(const PreferencesValue&, const PreferencesValue&) = default;
};

/// The user's preferences.  Thread-bound to the main thread.
class PreferencesStore {
public:
    virtual ~PreferencesStore() = default;

    /// Nothing where the key is absent.
    virtual std::optional<PreferencesValue> objectForKey(std::string_view key) const = 0;
    virtual void setObject(const PreferencesValue& value, std::string_view key) = 0;

    /// Writes what changed; false where it could not be written (the reason goes to the standard error
    /// stream).
    virtual bool synchronize() = 0;
};

} // namespace tavelo
