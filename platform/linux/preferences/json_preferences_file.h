// SPDX-License-Identifier: MIT
// The preferences file, which several programs may write.
#pragma once

#include <chrono>
#include <optional>
#include <set>
#include <string>

#include <QJsonObject>

#include "platform/linux/preferences/json_preferences_merge.h"
#include "platform/linux/whole_file.h"

namespace tavelo {

/// Reads and writes the file, waits for other programs, and prints errors to standard error: one line each,
/// which is not repeated until a write succeeds.
///
/// A file that is not a JSON object is renamed ("NAME.broken", "NAME.broken-2", ...).  A file that cannot
/// be read, is far larger than any preferences, or has a format of a later version of the program, is left
/// alone, and nothing is written.  If the path is a link, its target is used; the link stays, and all other
/// files are created beside the target.
///
/// Reentrant: used by one thread at a time.  write() may block for `patience` while another program writes.
class JsonPreferencesFile {
public:
    JsonPreferencesFile(std::string path, std::chrono::milliseconds patience);

    /// The current content; empty if there is no file.  Renames nothing.
    QJsonObject readFirst();

    /// The content, if it is not what was last read or written.  Renames a broken file, unless another
    /// program holds the lock.
    std::optional<QJsonObject> readIfChanged();

    /// Takes the lock, reads what other programs wrote and replaces the file.
    /// @return the new content; nothing if it could not be written
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

    // Results of the last read.
    QJsonObject content_;
    std::optional<FileVersion> version_; // of the file last read or found unreadable
    bool exists_ = false;
    std::string failure_; // why it could not be read or parsed

    std::set<std::string> said_; // messages printed since the last successful write
};

} // namespace tavelo
