// SPDX-License-Identifier: MIT
// Checks what clients send.
#pragma once

#include <QString>
#include <QVariantMap>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "platform/common/microphone_choice.h"
#include "service/service_error.h"

namespace tavelo::arguments {

// Each returns nothing, with the error, if the argument is wrong.

/// The text that names a camera; may be empty.
std::optional<std::string> camera(const QString& text, ServiceError& error);

/// An absolute path that does not end with a slash.
std::optional<std::string> file(const QString& text, ServiceError& error);

/// The position, from 0, of profile 1 to 4.
std::optional<std::int64_t> profile(unsigned number, ServiceError& error);

struct Length {
    std::optional<std::chrono::duration<double>> seconds; ///< absent: no limit
};
/// 0 for no limit, else 0.1 to a million.
std::optional<Length> length(double seconds, ServiceError& error);

struct RecordingOptions {
    Length length;
    SoundChoice sound;
};
/// The options of StartRecordingWith; an unknown one is an error.
std::optional<RecordingOptions> recordingOptions(const QVariantMap& options, ServiceError& error);

struct SetOptions {
    bool force = false;
};
/// The options of Set; an unknown one is an error.
std::optional<SetOptions> setOptions(const QVariantMap& options, ServiceError& error);

} // namespace tavelo::arguments
