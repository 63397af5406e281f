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

/// A value of the store.  Integers keep 64 bits, and a boolean stays one.
struct PreferencesValue;
using PreferencesArray = std::vector<PreferencesValue>;
using PreferencesDictionary = std::map<std::string, PreferencesValue>;

struct PreferencesValue {
    std::variant<bool, std::int64_t, double, std::string, PreferencesArray, PreferencesDictionary> value;

    friend bool operator==(const PreferencesValue&, const PreferencesValue&) = default;
};

/// The user's preferences.  Thread-bound to the main thread, which never waits for the disk here.
class PreferencesStore {
public:
    /// Gets true once everything that was set before the call is on the disk, and false if it could not be
    /// written.
    using SynchronizeHandler = std::function<void(bool saved)>;

    virtual ~PreferencesStore() = default;

    /// Answers from memory: what was set last, otherwise what is known of the disk.  Nothing if the key is
    /// absent.
    virtual std::optional<PreferencesValue> objectForKey(std::string_view key) const = 0;
    virtual void setObject(const PreferencesValue& value, std::string_view key) = 0;

    /// Sets a value for a key that seems to be absent.  If the key turns out to be on the disk when this is
    /// written, that value stays.
    virtual void setObjectIfMissing(const PreferencesValue& value, std::string_view key) = 0;

    /// Starts to write what changed, and returns at once.  The handler, which may be empty, is called once,
    /// on the main thread, after this call has returned; handlers are called in the order of their calls, and
    /// what a handler sets when it gets false is part of the next write.  What could not be written stays set
    /// and is written with the next call; the reason goes to the standard error stream.
    ///
    /// The store's end finishes what was started; handlers that were not called by then never are.
    virtual void synchronize(SynchronizeHandler handler) = 0;
};

} // namespace tavelo
