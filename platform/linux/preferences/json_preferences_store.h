// SPDX-License-Identifier: MIT
// The user's preferences in one JSON file.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include <QJsonObject>
#include <QString>

#include "platform/linux/preferences/json_preferences_merge.h"
#include "platform/main_queue.h"
#include "platform/preferences_store.h"
#include "platform/serial_queue.h"

namespace tavelo {

class JsonPreferencesFile;

/// How long a store waits.
struct PreferencesPatience {
    /// Before a write, for other programs that write.
    std::chrono::milliseconds lock = std::chrono::seconds(3);
    /// In the destructor, for a write that is under way.
    std::chrono::milliseconds end = std::chrono::seconds(5);
};

/// Keeps the preferences in a file that people may read and several programs may write.
///
/// The constructor reads the file.  From then on only the store's own thread "kt.preferences" reads and
/// writes it: it takes a lock, reads the file again and replaces it in one step.  Changes by other programs
/// are kept, and a program killed at any moment leaves either the old file or the new one.  Getters answer
/// from memory and let that thread check whether the file has changed; if it has, later getters see the new
/// content.
///
/// See JsonPreferencesFile for files that are broken, unreadable or links.
///
/// Thread-bound to the main thread.
class JsonPreferencesStore : public PreferencesStore {
public:
    /// @param mainQueue calls the handlers; must outlive the store
    /// @param path of the file; it and its folder may be missing
    explicit JsonPreferencesStore(MainQueue& mainQueue, const QString& path = userFile(),
                                  PreferencesPatience patience = {});
    ~JsonPreferencesStore() override;

    JsonPreferencesStore(const JsonPreferencesStore&) = delete;
    JsonPreferencesStore& operator=(const JsonPreferencesStore&) = delete;

    /// "tavelo/control-panel.json" in the user's configuration folder ($XDG_CONFIG_HOME or ~/.config).
    static QString userFile();

    std::optional<PreferencesValue> objectForKey(std::string_view key) const override;
    void setObject(const PreferencesValue& value, std::string_view key) override;
    void setObjectIfMissing(const PreferencesValue& value, std::string_view key) override;
    std::vector<std::string> keys() const override;
    void synchronize(SynchronizeHandler handler) override;

private:
    class WayBack;

    QJsonValue known(const QString& name) const;
    void look() const;
    void writeWaiting();
    void wrote(const JsonChanges& changes, const std::optional<QJsonObject>& content);
    void finish();

    MainQueue& mainQueue_;
    const QString path_;
    const PreferencesPatience patience_;

    JsonChanges changed_;        // not yet on the disk
    mutable QJsonObject stored_; // what the file held when it was last read
    mutable bool looking_ = false;

    bool onItsWay_ = false;                    // the thread is writing changed_ or a part of it
    bool writing_ = false;                     // until the handlers have been called
    std::vector<SynchronizeHandler> underWay_; // of the write under way
    std::vector<SynchronizeHandler> waiting_;  // of the next write

    const std::shared_ptr<WayBack> wayBack_;
    const std::shared_ptr<JsonPreferencesFile> file_; // used by the queue's thread only, once that exists
    std::unique_ptr<SerialQueue> queue_;
};

} // namespace tavelo
