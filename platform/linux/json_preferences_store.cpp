// SPDX-License-Identifier: MIT
#include "platform/linux/json_preferences_store.h"

#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <thread>
#include <utility>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonParseError>
#include <QSaveFile>
#include <QStandardPaths>

#include "platform/linux/json_preferences_value.h"

namespace tavelo {
namespace {

constexpr std::chrono::milliseconds retryEvery(5);

QString text(std::string_view utf8) {
    return QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
}

// One program at a time, for as long as this lives.  The lock lies beside the preferences, which are replaced
// while it is held; the kernel takes it from a program that dies.
class FileLock {
public:
    FileLock(const QString& path, std::chrono::milliseconds patience) : file_(path) {
        if (!file_.open(QIODevice::ReadWrite)) {
            reason_ = file_.errorString();
            return;
        }
        const auto deadline = std::chrono::steady_clock::now() + patience;
        while (flock(file_.handle(), LOCK_EX | LOCK_NB) != 0) {
            const int error = errno;
            if (error != EINTR && (error != EWOULDBLOCK || std::chrono::steady_clock::now() > deadline)) {
                reason_ = error == EWOULDBLOCK ? QStringLiteral("another program holds the lock")
                                               : qt_error_string(error);
                return;
            }
            std::this_thread::sleep_for(retryEvery);
        }
        isHeld_ = true;
    }

    bool isHeld() const { return isHeld_; }
    const QString& reason() const { return reason_; }

private:
    QFile file_; // closing it gives the lock back
    bool isHeld_ = false;
    QString reason_;
};

QString lockOf(const QString& path) {
    return path + QStringLiteral(".lock");
}

} // namespace

JsonPreferencesStore::JsonPreferencesStore(QString path, std::chrono::milliseconds patience)
    : path_(std::move(path)),
      patience_(patience) {}

QString JsonPreferencesStore::userFile() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/tavelo/control-panel.json");
}

std::optional<PreferencesValue> JsonPreferencesStore::objectForKey(std::string_view key) const {
    const QString name = text(key);
    const auto changed = changed_.constFind(name);
    if (changed != changed_.constEnd()) return fromJson(*changed);
    refresh();
    return fromJson(stored_.value(name));
}

void JsonPreferencesStore::setObject(const PreferencesValue& value, std::string_view key) {
    changed_.insert(text(key), toJson(value));
}

bool JsonPreferencesStore::synchronize() {
    if (changed_.isEmpty()) return true;
    if (!QDir().mkpath(QFileInfo(path_).path())) {
        report(QStringLiteral("cannot create the folder"));
        return false;
    }
    const FileLock lock(lockOf(path_), patience_);
    if (!lock.isHeld()) {
        report(QStringLiteral("cannot be locked (%1)").arg(lock.reason()));
        return false;
    }
    if (!readLocked()) return false;

    QJsonObject merged = stored_;
    for (auto entry = changed_.constBegin(); entry != changed_.constEnd(); ++entry) {
        merged.insert(entry.key(), entry.value());
    }
    if (!replaceFile(merged)) return false;
    stored_ = merged;
    version_ = versionOf(path_);
    changed_ = QJsonObject();
    return true;
}

std::optional<JsonPreferencesStore::Version> JsonPreferencesStore::versionOf(const QString& path) {
    struct stat status {};
    if (stat(QFile::encodeName(path).constData(), &status) != 0) return std::nullopt;
    return Version{.device = status.st_dev,
                   .inode = status.st_ino,
                   .changedAt = std::int64_t{status.st_mtim.tv_sec} * 1'000'000'000 + status.st_mtim.tv_nsec,
                   .size = status.st_size};
}

// Reads the file into stored_.  The version is taken before the content: what changes in between is read once
// more the next time.
JsonPreferencesStore::Reading JsonPreferencesStore::read() const {
    const std::optional<Version> version = versionOf(path_);
    QFile file(path_);
    if (!file.open(QIODevice::ReadOnly)) {
        if (!file.exists()) {
            stored_ = QJsonObject();
            version_.reset();
            return Reading::done;
        }
        failure_ = file.errorString();
        return Reading::failed;
    }
    const QByteArray content = file.readAll();
    if (file.error() != QFileDevice::NoError) {
        failure_ = file.errorString();
        return Reading::failed;
    }
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(content, &error);
    if (!document.isObject()) {
        failure_ = error.error != QJsonParseError::NoError
                       ? QStringLiteral("%1 at byte %2").arg(error.errorString()).arg(error.offset)
                       : QStringLiteral("not an object");
        return Reading::broken;
    }
    stored_ = document.object();
    version_ = version;
    return Reading::done;
}

// To be called with the lock held.  False where the file must not be replaced.
bool JsonPreferencesStore::readLocked() const {
    switch (read()) {
        case Reading::done:
            return true;
        case Reading::failed:
            report(QStringLiteral("cannot be read (%1)").arg(failure_));
            return false;
        case Reading::broken:
            break;
    }
    stored_ = QJsonObject();
    version_.reset();
    return setAside();
}

void JsonPreferencesStore::refresh() const {
    const std::optional<Version> version = versionOf(path_);
    if (version == version_ && version) return;
    switch (read()) {
        case Reading::done:
            return;
        case Reading::failed:
            report(QStringLiteral("cannot be read (%1)").arg(failure_));
            version_ = version; // say it once, and keep what is known
            return;
        case Reading::broken:
            break;
    }
    // Another program may be setting it aside just now, and writing a good one.
    const FileLock lock(lockOf(path_), patience_);
    if (lock.isHeld()) {
        readLocked();
    } else {
        report(QStringLiteral("does not parse (%1)").arg(failure_));
        stored_ = QJsonObject();
        version_ = version;
    }
}

bool JsonPreferencesStore::setAside() const {
    QFile file(path_);
    const QString aside = path_ + QStringLiteral(".broken");
    constexpr int mostAttempts = 1000;
    for (int attempt = 1; attempt <= mostAttempts; ++attempt) {
        const QString name = attempt == 1 ? aside : QStringLiteral("%1-%2").arg(aside).arg(attempt);
        if (QFileInfo::exists(name)) continue;
        if (!file.rename(name)) break;
        report(QStringLiteral("does not parse (%1); kept as %2").arg(failure_, name));
        return true;
    }
    report(QStringLiteral("does not parse (%1) and cannot be renamed").arg(failure_));
    return false;
}

bool JsonPreferencesStore::replaceFile(const QJsonObject& object) const {
    QSaveFile file(path_);
    if (file.open(QIODevice::WriteOnly)) {
        file.write(QJsonDocument(object).toJson());
        if (file.commit()) return true;
    }
    report(QStringLiteral("cannot be written (%1)").arg(file.errorString()));
    return false;
}

void JsonPreferencesStore::report(const QString& what) const {
    std::fprintf(stderr, "preferences: %s %s\n", qPrintable(path_), qPrintable(what));
}

} // namespace tavelo
