// SPDX-License-Identifier: MIT
#include "platform/linux/preferences/json_preferences_store.h"

#include <cstdio>
#include <future>
#include <mutex>
#include <utility>

#include <QFile>
#include <QStandardPaths>

#include "platform/linux/preferences/json_preferences_file.h"
#include "platform/linux/preferences/json_preferences_value.h"

namespace tavelo {
namespace {

QString text(std::string_view utf8) {
    return QString::fromUtf8(utf8);
}

} // namespace

/// Gives the store's thread and the handlers access to the store until it is gone.
class JsonPreferencesStore::WayBack : public std::enable_shared_from_this<WayBack> {
public:
    WayBack(JsonPreferencesStore& store, MainQueue& mainQueue) : store_(&store), mainQueue_(mainQueue) {}

    /// Runs `function(store)` on the main thread later, unless the store is gone by then.  Thread-safe.
    template <typename F>
    void post(F function) {
        const std::lock_guard lock(mutex_);
        if (store_ == nullptr) return; // the main queue may be gone too
        mainQueue_.post([self = shared_from_this(), function = std::move(function)]() mutable {
            // Only the main thread calls cut(), so the store stays while this runs.
            if (self->store_ != nullptr) function(*self->store_);
        });
    }

    /// Main thread.
    bool isCut() const { return store_ == nullptr; }
    void cut() {
        const std::lock_guard lock(mutex_);
        store_ = nullptr;
    }

private:
    std::mutex mutex_; // guards store_; only the main thread writes it, so it may read it without the lock
    JsonPreferencesStore* store_;
    MainQueue& mainQueue_;
};

JsonPreferencesStore::JsonPreferencesStore(MainQueue& mainQueue, const QString& path,
                                           PreferencesPatience patience)
    : mainQueue_(mainQueue),
      path_(path),
      patience_(patience),
      wayBack_(std::make_shared<WayBack>(*this, mainQueue)),
      file_(std::make_shared<JsonPreferencesFile>(QFile::encodeName(path).toStdString(), patience.lock)) {
    stored_ = file_->readFirst();
    queue_ = std::make_unique<SerialQueue>("kt.preferences");
    look(); // renames a broken file
}

JsonPreferencesStore::~JsonPreferencesStore() {
    wayBack_->cut();
    finish();
}

QString JsonPreferencesStore::userFile() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/tavelo/control-panel.json");
}

std::optional<PreferencesValue> JsonPreferencesStore::objectForKey(std::string_view key) const {
    look();
    return fromJson(known(text(key)));
}

QJsonValue JsonPreferencesStore::known(const QString& name) const {
    const auto changed = changed_.find(name);
    return changed != changed_.end() ? changed->second.value : stored_.value(name);
}

void JsonPreferencesStore::setObject(const PreferencesValue& value, std::string_view key) {
    const QString name = text(key);
    const auto change =
        changed_.try_emplace(name, JsonChange{.base = stored_.value(name), .value = {}}).first;
    change->second.value = toJson(value);
    // Same value as on the disk: nothing to write, and other programs' changes show again.
    if (!onItsWay_ && change->second.value == stored_.value(name)) changed_.erase(change);
}

void JsonPreferencesStore::setObjectIfMissing(const PreferencesValue& value, std::string_view key) {
    const QString name = text(key);
    if (!known(name).isUndefined()) return;
    // Base and value are the same, so the write changes nothing that the file turns out to hold.
    const QJsonValue json = toJson(value);
    changed_.insert_or_assign(name, JsonChange{.base = json, .value = json});
}

std::vector<std::string> JsonPreferencesStore::keys() const {
    look();
    std::vector<std::string> names;
    for (const QString& name : stored_.keys())
        if (!changed_.contains(name)) names.push_back(name.toStdString());
    for (const auto& [name, change] : changed_)
        names.push_back(name.toStdString());
    return names;
}

void JsonPreferencesStore::synchronize(SynchronizeHandler handler) {
    waiting_.push_back(std::move(handler));
    if (!writing_) writeWaiting();
}

void JsonPreferencesStore::look() const {
    if (std::exchange(looking_, true)) return;
    queue_->async([file = file_, wayBack = wayBack_] {
        wayBack->post([content = file->readIfChanged()](const JsonPreferencesStore& self) {
            self.looking_ = false;
            if (content) self.stored_ = *content;
        });
    });
}

void JsonPreferencesStore::writeWaiting() {
    writing_ = !waiting_.empty();
    if (!writing_) return;
    underWay_ = std::exchange(waiting_, {});
    onItsWay_ = true;
    queue_->async([file = file_, wayBack = wayBack_, changes = changed_] {
        std::optional<QJsonObject> content = changes.empty() ? QJsonObject() : file->write(changes);
        wayBack->post([changes, content = std::move(content)](JsonPreferencesStore& self) {
            self.wrote(changes, content);
        });
    });
}

void JsonPreferencesStore::wrote(const JsonChanges& changes, const std::optional<QJsonObject>& content) {
    onItsWay_ = false;
    if (content && !changes.empty()) {
        stored_ = *content;
        for (const auto& [key, change] : changes) {
            const auto changed = changed_.find(key);
            if (changed == changed_.end()) continue;
            if (changed->second.value == change.value)
                changed_.erase(changed);
            else
                changed->second.base = change.value; // set again meanwhile
        }
    }
    // One task each: a handler may show an alert and wait for the user.
    for (SynchronizeHandler& handler : underWay_) {
        if (!handler) continue;
        mainQueue_.post([wayBack = wayBack_, handler = std::move(handler), saved = content.has_value()] {
            if (!wayBack->isCut()) handler(saved);
        });
    }
    underWay_.clear();
    // After the handlers, so that what they set is written too.
    wayBack_->post([](JsonPreferencesStore& self) { self.writeWaiting(); });
}

// A disk that hangs must not keep the program from ending.
void JsonPreferencesStore::finish() {
    if (!waiting_.empty() && !changed_.empty()) {
        queue_->async([file = file_, changes = changed_] { static_cast<void>(file->write(changes)); });
    }
    const auto done = std::make_shared<std::promise<void>>();
    auto finished = done->get_future();
    queue_->async([done] { done->set_value(); });
    if (finished.wait_for(patience_.end) == std::future_status::ready) return;
    if (onItsWay_ || !waiting_.empty())
        std::fprintf(stderr,
                     "preferences: %s may not hold what was set last: writing it takes longer than %.1f s\n",
                     qPrintable(path_), std::chrono::duration<double>(patience_.end).count());
    // The thread cannot be joined; it ends with the program.
    static_cast<void>(queue_.release());
}

} // namespace tavelo
