// SPDX-License-Identifier: MIT
#include "text/measure/size_with_font.h"

#include <algorithm>
#include <cmath>

#include <QTextLayout>
#include <QTextOption>

namespace tavelo {
namespace {

// Wider than any screen, and small enough for the layout's 26.6 fixed-point numbers.
constexpr double widestLine = 1 << 24;

double roundedUp(double points) {
    // Single precision, so that rounding errors in a sum do not add a whole point.
    return std::ceil(static_cast<float>(points));
}

} // namespace

QSizeF sizeWithFont(const QString& text, const QFont& font, double maxWidth) {
    QString lines = text; // the layout breaks at line separators only
    lines.replace(QStringLiteral("\r\n"), QString(QChar::LineSeparator));
    lines.replace(QChar::LineFeed, QChar::LineSeparator);

    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    QTextLayout layout(lines, font);
    layout.setTextOption(option);

    const double lineWidth = std::fmax(0.0, std::fmin(maxWidth, widestLine));
    double width = 0;
    double height = 0;
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLeadingIncluded(true);
        line.setLineWidth(lineWidth);
        width = std::max(width, line.naturalTextWidth());
        height += line.height();
    }
    layout.endLayout();
    return {roundedUp(width), roundedUp(height)};
}

} // namespace tavelo
