// SPDX-License-Identifier: MIT
#include "service/service_error.h"

#include <algorithm>
#include <array>

#include "service/bus_names.h"

namespace tavelo {
namespace {

using Kind = ServiceError::Kind;

struct NamedKind {
    Kind kind;
    QLatin1String name;
};

constexpr std::array table{
    NamedKind{Kind::noSuchCamera, QLatin1String("NoSuchCamera")},
    NamedKind{Kind::notShown, QLatin1String("NotShown")},
    NamedKind{Kind::busy, QLatin1String("Busy")},
    NamedKind{Kind::denied, QLatin1String("Denied")},
    NamedKind{Kind::refused, QLatin1String("Refused")},
    NamedKind{Kind::invalid, QLatin1String("Invalid")},
    NamedKind{Kind::failed, QLatin1String("Failed")},
};

} // namespace

QString busNameOf(Kind kind) {
    return bus_names::errorPrefix + std::ranges::find(table, kind, &NamedKind::kind)->name;
}

std::optional<Kind> errorKindNamed(const QString& busName) {
    const auto found = std::ranges::find_if(
        table, [&](const NamedKind& row) { return busName == bus_names::errorPrefix + row.name; });
    return found != table.end() ? std::optional(found->kind) : std::nullopt;
}

Kind errorKindOf(ErrorCode code) {
    switch (code) {
        case ErrorCode::busy:
            return Kind::busy;
        case ErrorCode::denied:
            return Kind::denied;
        case ErrorCode::gone:
            return Kind::noSuchCamera;
        case ErrorCode::refused:
            return Kind::refused;
        default:
            return Kind::failed;
    }
}

} // namespace tavelo
