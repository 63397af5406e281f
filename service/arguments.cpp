// SPDX-License-Identifier: MIT
#include "service/arguments.h"

#include "profiles/stored_profiles.h"

namespace tavelo::arguments {
namespace {

constexpr qsizetype longestCamera = 256;  // characters, also of a microphone's name
constexpr std::size_t longestFile = 4095; // bytes
constexpr double shortestMovie = 0.1;     // seconds
constexpr double longestMovie = 1e6;

std::nullopt_t invalid(ServiceError& error, std::string text) {
    error = {ServiceError::Kind::invalid, std::move(text)};
    return std::nullopt;
}

std::nullopt_t unknownOption(const QString& name, ServiceError& error) {
    return invalid(error, "no option is called \"" + name.left(longestCamera).toStdString() + "\"");
}

std::optional<SoundChoice> sound(const QVariant& value, ServiceError& error) {
    const QString text = value.typeId() == QMetaType::QString ? value.toString() : QString();
    const auto choice = text.size() <= longestCamera ? soundChoiceOf(text.toStdString()) : std::nullopt;
    return choice ? choice : invalid(error, "sound is \"off\", \"auto\" or the name of a microphone");
}

} // namespace

std::optional<std::string> camera(const QString& text, ServiceError& error) {
    if (text.size() > longestCamera) return invalid(error, "the camera's name is too long");
    return text.toStdString();
}

std::optional<std::string> file(const QString& text, ServiceError& error) {
    if (text.size() > static_cast<qsizetype>(longestFile))
        return invalid(error, "the file's name is too long");
    std::string path = text.toStdString();
    if (path.size() > longestFile) return invalid(error, "the file's name is too long");
    if (!path.starts_with('/')) return invalid(error, "\"" + path + "\" is not an absolute path");
    if (path.ends_with('/')) return invalid(error, path + " is a folder");
    return path;
}

std::optional<std::int64_t> profile(unsigned number, ServiceError& error) {
    if (number >= 1 && number <= storedProfileCount) return static_cast<std::int64_t>(number) - 1;
    return invalid(error, "no profile " + std::to_string(number) + ": there are 1 to " +
                              std::to_string(storedProfileCount));
}

std::optional<Length> length(double seconds, ServiceError& error) {
    if (seconds == 0) return Length{};
    if (seconds >= shortestMovie && seconds <= longestMovie) // not so with NaN
        return Length{std::chrono::duration<double>(seconds)};
    return invalid(error, "a movie lasts 0.1 to 1000000 seconds, or 0 for no limit");
}

std::optional<RecordingOptions> recordingOptions(const QVariantMap& options, ServiceError& error) {
    RecordingOptions result;
    for (auto option = options.begin(); option != options.end(); ++option) {
        const QVariant& value = option.value();
        if (option.key() == QLatin1String("seconds")) {
            if (value.typeId() != QMetaType::Double) return invalid(error, "seconds is a double");
            const auto checked = length(value.toDouble(), error);
            if (!checked) return {};
            result.length = *checked;
        } else if (option.key() == QLatin1String("sound")) {
            const auto choice = sound(value, error);
            if (!choice) return {};
            result.sound = *choice;
        } else {
            return unknownOption(option.key(), error);
        }
    }
    return result;
}

std::optional<SetOptions> setOptions(const QVariantMap& options, ServiceError& error) {
    SetOptions result;
    for (auto option = options.begin(); option != options.end(); ++option) {
        if (option.key() != QLatin1String("force")) return unknownOption(option.key(), error);
        if (option.value().typeId() != QMetaType::Bool) return invalid(error, "force is a boolean");
        result.force = option.value().toBool();
    }
    return result;
}

} // namespace tavelo::arguments
