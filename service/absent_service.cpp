// SPDX-License-Identifier: MIT
#include "service/absent_service.h"

namespace tavelo {

// The bus gives the second name to a call that may not start the service; Qt has no type for it.
bool isOfAbsentService(const QDBusError& error) {
    return error.type() == QDBusError::ServiceUnknown ||
           error.name() == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner");
}

} // namespace tavelo
