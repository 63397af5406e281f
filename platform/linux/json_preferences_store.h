// SPDX-License-Identifier: MIT
// The user's preferences in one JSON file.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <QJsonObject>
#include <QString>

#include "platform/preferences_store.h"

namespace tavelo {

/// Keeps the preferences in a file that people may read and several programs may write.
///
/// What setObject() got is answered at once and written by synchronize(), which takes a lock, reads the file
/// anew and replaces it in one step: keys that other programs wrote meanwhile stay, and a program killed at
/// any moment leaves either the old file or the new one.  Reading notices that the file was replaced.
///
/// A file that is no JSON object is renamed ("NAME.broken", "NAME.broken-2", ...) and reported on the
/// standard error stream; the store is empty then.  A file that cannot be read is left alone, and nothing is
/// written.
///
/// Thread-bound to the main thread.  synchronize() may block for as long as other programs write, 3 seconds
/// at most.
class JsonPreferencesStore : public PreferencesStore {
public:
    /// @param path of the file; it and its folder may be missing
    /// @param patience how long to wait for other programs that write
    explicit JsonPreferencesStore(QString path = userFile(),
                                  std::chrono::milliseconds patience = std::chrono::seconds(3));

    /// "tavelo/control-panel.json" in the user's configuration folder ($XDG_CONFIG_HOME or ~/.config).
    static QString userFile();

    std::optional<PreferencesValue> objectForKey(std::string_view key) const override;
    void setObject(const PreferencesValue& value, std::string_view key) override;
    bool synchronize() override;

private:
    // Tells one version of the file from the next: each replacement is a file of its own.
    struct Version {
        std::uint64_t device = 0;
        std::uint64_t inode = 0;
        std::int64_t changedAt = 0; // nanoseconds
        std::int64_t size = 0;

        friend bool operator==(const Version&, const Version&) = default;
    };
    enum class Reading : std::uint8_t { done, broken, failed };

    static std::optional<Version> versionOf(const QString& path);

    Reading read() const;
    bool readLocked() const;
    void refresh() const;
    bool setAside() const;
    bool replaceFile(const QJsonObject& object) const;
    void report(const QString& what) const;

    const QString path_;
    const std::chrono::milliseconds patience_;
    QJsonObject changed_; // not written yet

    // What the file held when it was last read.
    mutable QJsonObject stored_;
    mutable std::optional<Version> version_;
    mutable QString failure_; // why it could not be read, or does not parse
};

} // namespace tavelo
