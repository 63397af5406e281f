// SPDX-License-Identifier: MIT
// Names that devices and other programs chose, among texts of our own.
#pragma once

#include <QString>
#include <string>

namespace tavelo {

/// The name without line breaks, tabs and characters that set a direction of writing.  A name that is
/// written from right to left is isolated, so that the text around it keeps its order.
QString foreignName(const std::string& name);

/// Makes a tool tip show the text as it is: Qt would read tags in it.
QString plainToolTip(const QString& text);

} // namespace tavelo
