// SPDX-License-Identifier: MIT
// Why a call of the service failed.
#pragma once

#include <QString>
#include <cstdint>
#include <optional>
#include <string>

#include "platform/error.h"

namespace tavelo {

struct ServiceError {
    enum class Kind : std::uint8_t {
        noSuchCamera,
        notShown, ///< the panel does not show this camera
        busy,     ///< another program holds the camera, or a movie is being recorded
        denied,   ///< no permission
        refused,  ///< the camera does not have it, or did not take it
        invalid,  ///< an argument is wrong
        failed,   ///< any other fault
    };

    Kind kind = Kind::failed;
    std::string text;      ///< one line for the user
    bool isOfFile = false; ///< the file system did not take the picture or the movie
};

/// Its name on the bus, such as "org.tavelo.ControlPanel1.Error.Busy".
QString busNameOf(ServiceError::Kind kind);

/// The other way round; nothing for a name that is not the service's.
std::optional<ServiceError::Kind> errorKindNamed(const QString& busName);

ServiceError::Kind errorKindOf(ErrorCode code);

} // namespace tavelo
