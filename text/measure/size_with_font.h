// SPDX-License-Identifier: MIT
// How much room a text takes.
#pragma once

#include <QFont>
#include <QSizeF>
#include <QString>

namespace tavelo {

/// The size of `text` drawn in `font`, wrapped at words into lines of at most `maxWidth` points.
///
/// A word wider than that is broken inside.  The width is the widest line's, the height that of all lines
/// with the font's leading; both are whole numbers of points, rounded up.  Reentrant.
QSizeF sizeWithFont(const QString& text, const QFont& font, double maxWidth);

} // namespace tavelo
