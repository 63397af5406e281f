// SPDX-License-Identifier: MIT
// The file of the preferences, which several programs may write.
#pragma once

#include <chrono>
#include <optional>
#include <set>
#include <string>

#include <QJsonObject>

#include "platform/linux/preferences/json_preferences_merge.h"
#include "platform/linux/preferences/whole_file.h"

namespace tavelo {

/// Reads and writes the file, waits for other programs, and prints what goes wrong: one line on the standard
/// error stream, which is not repeated until something was written.
///
/// A file that is no JSON object is renamed ("NAME.broken", "NAME.broken-2", ...).  A file that cannot be
/// read, or that is far larger than any preferences, is left alone, and nothing is written.  If the path is a
/// link, the file that it leads to is meant; the link stays, and the other files lie beside its target.
///
/// Reentrant: used by one thread at a time.  write() may block for `patience` while another program writes.
class JsonPreferencesFile {
public:
    JsonPreferencesFile(std::string path, std::chrono::milliseconds patience);

    /// The content of now; empty if there is none.  Renames nothing.
    QJsonObject readFirst();

    /// The content, if it is not the one that was read or written last.  Renames a broken file, unless
    /// another program holds the lock.
    std::optional<QJsonObject> readIfChanged();

    /// Takes the lock, reads what other programs wrote and replaces the file; gives its new content.  Nothing
    /// if it could not be written.
    std::optional<QJsonObject> write(const JsonChanges& changes);

private:
    enum class Reading : std::uint8_t { done, broken, failed };

    Reading read();
    bool readLocked(const std::string& target);
    bool setAside(const std::string& target);
    bool makeFolder(const std::string& target);
    void report(const std::string& what);

    const std::string path_;
    const std::chrono::milliseconds patience_;

    // Of the last reading.
    QJsonObject content_;
    std::optional<FileVersion> version_; // of what was read last, or was found to be unreadable
    bool exists_ = false;
    std::string failure_; // why it could not be read, or does not parse

    std::set<std::string> said_; // since the last successful write
};

} // namespace tavelo
