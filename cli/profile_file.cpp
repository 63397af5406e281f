// SPDX-License-Identifier: MIT
#include "cli/profile_file.h"

#include <QJsonDocument>
#include <QJsonParseError>
#include <cmath>

#include "cli/json_output.h"
#include "commands/control_names.h"
#include "profiles/camera_settings.h"
#include "profiles/stored_profiles.h"

namespace tavelo {
namespace {

constexpr std::string_view mirrorName = "mirror";
constexpr int fileVersion = 1;
const QString formatName = QStringLiteral("tavelo profiles");
constexpr qsizetype mostBytes = qsizetype(1) << 20;
constexpr int mostCameras = 256;

struct Entry {
    const NamedControl* control; // null for the mirror
    std::string_view key;
};

// Null if profiles have no such entry.
std::optional<Entry> entryNamed(std::string_view name) {
    if (name == mirrorName) return Entry{nullptr, camera_settings::mirrorKey};
    const NamedControl* control = controlNamed(name);
    if (control == nullptr) return {};
    for (const ProfileControl& each : profileControls())
        if (each.control == control->control) return Entry{control, each.key};
    return {};
}

std::optional<std::int64_t> valueOf(const PreferencesDictionary& profile, const Entry& entry) {
    if (!profile.contains(std::string(entry.key))) return {};
    const std::int64_t value = camera_settings::integer(profile, entry.key);
    return entry.control != nullptr ? shareOf(*entry.control, value) : value;
}

// The other half of pan and tilt stays.
std::int64_t combined(const PreferencesDictionary& profile, const Entry& entry, std::int64_t value) {
    if (entry.control == nullptr || entry.control->half == ControlHalf::whole) return value;
    const auto held = static_cast<std::uint64_t>(camera_settings::integer(profile, entry.key));
    const auto half = static_cast<std::uint64_t>(static_cast<std::uint32_t>(value));
    constexpr std::uint64_t low = 0xFFFF'FFFF;
    return static_cast<std::int64_t>(entry.control->half == ControlHalf::pan ? (held & ~low) | half
                                                                             : (held & low) | half << 32U);
}

QJsonObject profileJson(const PreferencesDictionary& profile) {
    QJsonObject object;
    for (const std::string& name : profileEntryNames()) {
        const Entry entry = *entryNamed(name);
        const auto value = valueOf(profile, entry);
        if (!value) continue;
        if (entry.control == nullptr)
            object.insert(QString::fromUtf8(name), *value != 0);
        else
            object.insert(QString::fromUtf8(name), valueJson(*entry.control, *value));
    }
    return object;
}

std::optional<std::int64_t> numberOf(const QJsonValue& json, const NamedControl& control) {
    if (json.isString()) {
        const std::string word = json.toString().toStdString();
        for (const ChoiceWord& choice : control.words)
            if (choice.word == word) return choice.value;
        return {};
    }
    constexpr double largest = 4294967295.0;
    const double number = json.toDouble(std::nan(""));
    if (!(std::abs(number) <= largest) || number != std::floor(number)) return {};
    return static_cast<std::int64_t>(number);
}

std::string unknownEntry(const std::string& where, const std::string& name) {
    return where + "profiles have no \"" + name + "\"";
}

// Collects what a file says and the first thing that is wrong with it.
class Reader {
public:
    std::optional<ProfilesOfCameras> read(const QByteArray& text, std::string& reason) {
        ProfilesOfCameras cameras;
        readFile(text, cameras);
        reason = wrong_;
        return wrong_.empty() ? std::optional(std::move(cameras)) : std::nullopt;
    }

private:
    void readFile(const QByteArray& text, ProfilesOfCameras& cameras) {
        if (text.size() > mostBytes) return complain("is too large for profiles");
        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(text, &error);
        if (!document.isObject())
            return complain("is not JSON: " + (error.error != QJsonParseError::NoError
                                                   ? error.errorString().toStdString()
                                                   : std::string("there is no object")));
        const QJsonObject file = document.object();
        if (file.value(QStringLiteral("format")).toString() != formatName)
            return complain("does not hold profiles of taveloctl");
        if (file.value(QStringLiteral("version")).toInt() != fileVersion)
            return complain("is of another version; this program reads version " +
                            std::to_string(fileVersion));
        const QJsonObject list = file.value(QStringLiteral("cameras")).toObject();
        if (list.isEmpty()) return complain("names no camera");
        if (list.size() > mostCameras) return complain("names too many cameras");
        for (auto camera = list.begin(); camera != list.end(); ++camera)
            cameras[camera.key().toStdString()] = readCamera(camera.key().toStdString(), camera.value());
    }

    std::vector<PreferencesDictionary> readCamera(const std::string& camera, const QJsonValue& json) {
        std::vector<PreferencesDictionary> profiles;
        const QJsonArray list = json.toObject().value(QStringLiteral("profiles")).toArray();
        if (list.isEmpty() || list.size() > storedProfileCount)
            complain("camera " + camera + " does not have 1 to " + std::to_string(storedProfileCount) +
                     " profiles");
        else
            for (const QJsonValue profile : list)
                profiles.push_back(readProfile(camera, profile, profiles.size() + 1));
        return profiles;
    }

    PreferencesDictionary readProfile(const std::string& camera, const QJsonValue& json, std::size_t number) {
        const std::string where = "camera " + camera + ", profile " + std::to_string(number) + ": ";
        PreferencesDictionary profile;
        if (!json.isObject()) complain(where + "is not an object");
        const QJsonObject entries = json.toObject();
        for (auto each = entries.begin(); each != entries.end(); ++each) {
            const std::string name = each.key().toStdString();
            const auto entry = entryNamed(name);
            if (!entry) {
                complain(unknownEntry(where, name));
            } else if (entry->control == nullptr) {
                if (!each.value().isBool()) complain(where + name + " is neither true nor false");
                profile[std::string(entry->key)] = {each.value().toBool()};
            } else if (const auto value = numberOf(each.value(), *entry->control)) {
                profile[std::string(entry->key)] = {combined(profile, *entry, *value)};
            } else {
                complain(where + name + " is no value of that control");
            }
        }
        return profile;
    }

    void complain(std::string what) {
        if (wrong_.empty()) wrong_ = std::move(what);
    }

    std::string wrong_;
};

} // namespace

const std::vector<std::string>& profileEntryNames() {
    static const std::vector<std::string> names = [] {
        std::vector<std::string> all;
        for (const ProfileControl& stored : profileControls())
            for (const NamedControl& control : namedControls())
                if (control.control == stored.control) all.emplace_back(control.name);
        all.emplace_back(mirrorName);
        return all;
    }();
    return names;
}

std::string profileEntryText(const PreferencesDictionary& profile, const std::string& name) {
    const Entry entry = *entryNamed(name);
    const auto value = valueOf(profile, entry);
    if (!value) return "-";
    if (entry.control == nullptr) return *value != 0 ? "on" : "off";
    return valueText(*entry.control, *value);
}

QJsonArray profilesJson(const PreferencesArray& record) {
    QJsonArray profiles;
    for (std::int64_t i = 0; i < storedProfileCount; ++i)
        if (const PreferencesDictionary* profile = profileAt(record, i))
            profiles.append(profileJson(*profile));
    return profiles;
}

QByteArray profileFile(const std::map<std::string, PreferencesArray>& records) {
    QJsonObject cameras;
    for (const auto& [camera, record] : records)
        cameras.insert(QString::fromUtf8(camera),
                       QJsonObject{{QStringLiteral("profiles"), profilesJson(record)}});
    return QJsonDocument(QJsonObject{{QStringLiteral("format"), formatName},
                                     {QStringLiteral("version"), fileVersion},
                                     {QStringLiteral("cameras"), cameras}})
        .toJson(QJsonDocument::Indented);
}

std::optional<ProfilesOfCameras> readProfileFile(const QByteArray& text, std::string& reason) {
    return Reader().read(text, reason);
}

PreferencesArray withProfiles(const std::optional<PreferencesArray>& stored,
                              const std::vector<PreferencesDictionary>& profiles) {
    PreferencesArray record = stored ? *stored
                                     : camera_settings::newRecord(
                                           profiles.empty() ? PreferencesDictionary() : profiles.front(), -1);
    for (std::size_t i = 0; i < profiles.size(); ++i) {
        if (i >= record.size()) record.push_back({PreferencesDictionary()});
        const PreferencesDictionary* before = profileAt(record, static_cast<std::int64_t>(i));
        PreferencesDictionary merged = before != nullptr ? *before : PreferencesDictionary();
        for (const auto& [key, value] : profiles[i])
            merged.insert_or_assign(key, value);
        record[i] = {merged};
    }
    return record;
}

} // namespace tavelo
