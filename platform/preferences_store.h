// SPDX-License-Identifier: MIT
// Values kept between runs.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace tavelo {

/// A stored value.  Integers keep all 64 bits and are distinct from booleans.
struct PreferencesValue;
using PreferencesArray = std::vector<PreferencesValue>;
using PreferencesDictionary = std::map<std::string, PreferencesValue>;

struct PreferencesValue {
    std::variant<bool, std::int64_t, double, std::string, PreferencesArray, PreferencesDictionary> value;

    friend bool operator==(const PreferencesValue&, const PreferencesValue&) = default;
};

/// The user's preferences.  Main thread only; never blocks on the disk.
class PreferencesStore {
public:
    /// Called with true once everything set before the call is on disk, with false if it could not be
    /// written.
    using SynchronizeHandler = std::function<void(bool saved)>;

    virtual ~PreferencesStore() = default;

    /// Answers from memory: the value set last, otherwise what is known to be on disk.  Nothing if the key is
    /// absent.
    virtual std::optional<PreferencesValue> objectForKey(std::string_view key) const = 0;
    virtual void setObject(const PreferencesValue& value, std::string_view key) = 0;

    /// The keys that objectForKey() has something for, in no order.
    virtual std::vector<std::string> keys() const = 0;

    /// Sets a value for a key that seems to be absent.  If the key turns out to be on disk when this is
    /// written, the value on disk stays.
    virtual void setObjectIfMissing(const PreferencesValue& value, std::string_view key) = 0;

    /// Starts writing the changes and returns at once.  The handler, which may be empty, is called once, on
    /// the main thread, after this call has returned.  Handlers are called in the order of their calls; what
    /// a handler sets when it gets false is part of the next write.  Values that could not be written stay
    /// set and are written with the next call; the reason goes to standard error.
    ///
    /// The destructor finishes writes that were started; handlers not called by then are never called.
    virtual void synchronize(SynchronizeHandler handler) = 0;
};

} // namespace tavelo
