// SPDX-License-Identifier: MIT
#include "platform/linux/preferences/json_preferences_file.h"

#include <cstdio>
#include <filesystem>
#include <system_error>
#include <utility>

#include <QByteArray>
#include <QJsonDocument>
#include <QJsonParseError>

namespace tavelo {
namespace {

// A version of the program that stores its preferences in another way writes this key, with a number above
// ours; until then nobody writes it.
constexpr auto formatKey = "Format";
constexpr int format = 1;

constexpr std::size_t mostBytes = std::size_t(16) << 20U; // a camera needs about 3000 bytes

bool isOfALaterVersion(const QJsonObject& content) {
    const QJsonValue stored = content.value(QLatin1String(formatKey));
    return !stored.isUndefined() && stored != QJsonValue(format);
}

std::string lockOf(const std::string& target) {
    return target + ".lock";
}

} // namespace

JsonPreferencesFile::JsonPreferencesFile(std::string path, std::chrono::milliseconds patience)
    : path_(std::move(path)),
      patience_(patience) {}

QJsonObject JsonPreferencesFile::readFirst() {
    switch (read()) {
        case Reading::done:
            break;
        case Reading::failed:
            report("cannot be read (" + failure_ + ")");
            break;
        case Reading::broken:
            version_.reset(); // so that readIfChanged() deals with it
            break;
    }
    return content_;
}

std::optional<QJsonObject> JsonPreferencesFile::readIfChanged() {
    if (version_ && versionOfFile(path_) == version_) return std::nullopt;
    switch (read()) {
        case Reading::done:
            return content_;
        case Reading::failed:
            report("cannot be read (" + failure_ + ")");
            return std::nullopt; // keep what is known
        case Reading::broken:
            break;
    }
    // If another program holds the lock, it may be renaming the file right now: the next call finds out.
    Error error;
    const auto target = followLinks(path_, error);
    const FileLock lock(lockOf(target.value_or(path_)), std::chrono::milliseconds(0), error);
    version_.reset();
    if (!target || !lock.isHeld() || !readLocked(*target)) return std::nullopt;
    return content_;
}

std::optional<QJsonObject> JsonPreferencesFile::write(const JsonChanges& changes) {
    Error error;
    const auto target = followLinks(path_, error);
    if (!target) {
        report("cannot be read (" + error.text + ")");
        return std::nullopt;
    }
    if (!makeFolder(*target)) return std::nullopt;
    const FileLock lock(lockOf(*target), patience_, error);
    if (!lock.isHeld()) {
        report("cannot be locked (" + error.text + ")");
        return std::nullopt;
    }
    if (!readLocked(*target)) return std::nullopt;

    QJsonObject content = withChanges(content_, changes);
    if (exists_ && content == content_) return content;
    const QByteArray bytes = QJsonDocument(content).toJson();
    const std::string_view view(bytes.constData(), static_cast<std::size_t>(bytes.size()));
    if (view.size() > mostBytes) error.text = "too large";
    if (view.size() > mostBytes || !replaceWholeFile(*target, view, error)) {
        version_.reset(); // the caller has not seen what was just read
        report("cannot be written (" + error.text + ")");
        return std::nullopt;
    }
    version_ = versionOfFile(*target);
    content_ = std::move(content);
    said_.clear();
    return content_;
}

// Reads the file into content_, which is empty unless the result is `done`.
JsonPreferencesFile::Reading JsonPreferencesFile::read() {
    content_ = QJsonObject();
    version_ = versionOfFile(path_); // kept if the file cannot be read, so that it is reported once
    Error error;
    const auto content = readWholeFile(path_, mostBytes, error);
    if (!content) {
        failure_ = error.text;
        return Reading::failed;
    }
    exists_ = content->exists;
    if (!exists_) {
        version_.reset();
        return Reading::done;
    }
    version_ = content->version;
    QJsonParseError problem;
    const auto& bytes = content->bytes;
    const QJsonDocument document = QJsonDocument::fromJson(
        QByteArray::fromRawData(bytes.data(), static_cast<qsizetype>(bytes.size())), &problem);
    if (!document.isObject()) {
        failure_ = problem.error != QJsonParseError::NoError
                       ? problem.errorString().toStdString() + " at byte " + std::to_string(problem.offset)
                       : "not an object";
        return Reading::broken;
    }
    if (isOfALaterVersion(document.object())) {
        failure_ = "it is of a later version of the program, and stays as it is";
        return Reading::failed;
    }
    content_ = document.object();
    return Reading::done;
}

// Call with the lock held.  False if the file must not be replaced.
bool JsonPreferencesFile::readLocked(const std::string& target) {
    switch (read()) {
        case Reading::done:
            return true;
        case Reading::failed:
            report("cannot be read (" + failure_ + ")");
            return false;
        case Reading::broken:
            break;
    }
    return setAside(target);
}

bool JsonPreferencesFile::setAside(const std::string& target) {
    constexpr int mostAttempts = 1000;
    Error error;
    for (int attempt = 1; attempt <= mostAttempts; ++attempt) {
        const std::string name = target + ".broken" + (attempt == 1 ? "" : "-" + std::to_string(attempt));
        if (renameToFreeName(target, name, error)) {
            exists_ = false;
            report("does not parse (" + failure_ + "); kept as " + name);
            return true;
        }
        if (error.code != ErrorCode::busy) break;
    }
    report("does not parse (" + failure_ + ") and cannot be renamed (" + error.text + ")");
    return false;
}

bool JsonPreferencesFile::makeFolder(const std::string& target) {
    std::error_code failure;
    const auto folder = std::filesystem::path(target).parent_path();
    if (folder.empty()) return true;
    std::filesystem::create_directories(folder, failure);
    if (!failure) return true;
    report("cannot create the folder (" + failure.message() + ")");
    return false;
}

void JsonPreferencesFile::report(const std::string& what) {
    if (!said_.insert(what).second) return;
    std::fprintf(stderr, "preferences: %s %s\n", path_.c_str(), what.c_str());
}

} // namespace tavelo
