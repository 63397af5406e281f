// SPDX-License-Identifier: MIT
// Types on the bus that Qt does not know.
#pragma once

#include <QList>
#include <QMap>
#include <QMetaType>
#include <QString>
#include <QVariantMap>

namespace tavelo {

/// The cameras of List, or the controls of Controls: aa{sv}.
using Descriptions = QList<QVariantMap>;
/// The programs that have a camera open, by process: a{us}.
using HolderNames = QMap<uint, QString>;

/// Makes both known to Qt; may be called again.
void registerBusTypes();

} // namespace tavelo
