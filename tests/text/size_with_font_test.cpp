// SPDX-License-Identifier: MIT
#include "text/measure/size_with_font.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include <QFontMetricsF>

namespace tavelo {
namespace {

class SizeWithFontTest : public ::testing::Test {
protected:
    QSizeF size(const QString& text, double maxWidth = 1e9) const {
        return sizeWithFont(text, font, maxWidth);
    }
    double lineHeight() const { return size(QStringLiteral("x")).height(); }

    QFont font{QStringLiteral("Arial"), 14};
};

TEST_F(SizeWithFontTest, OneLineIsAsWideAsItsText) {
    const QString text = QStringLiteral("Save to profile");
    EXPECT_EQ(size(text).width(), std::ceil(QFontMetricsF(font).horizontalAdvance(text)));
    EXPECT_GE(size(text).height(), QFontMetricsF(font).height());
}

TEST_F(SizeWithFontTest, BothSidesAreWholeNumbers) {
    for (const double maxWidth : {1e9, 100.0, 33.3}) {
        const QSizeF measured = size(QStringLiteral("two words here that wrap"), maxWidth);
        EXPECT_EQ(measured.width(), std::floor(measured.width()));
        EXPECT_EQ(measured.height(), std::floor(measured.height()));
    }
}

TEST_F(SizeWithFontTest, TextThatNeedsTwoLinesHasTheHeightOfTwoLines) {
    const QString text = QStringLiteral("Save to profile");
    ASSERT_GT(size(text).width(), 100);
    EXPECT_EQ(size(text, 100).height(), std::ceil(2 * lineHeight()));
}

TEST_F(SizeWithFontTest, WidthIsThatOfTheWidestLineAndNotTheLimit) {
    const QSizeF wrapped = size(QStringLiteral("Save to profile"), 100);
    EXPECT_EQ(wrapped.width(), size(QStringLiteral("Save to")).width());
    EXPECT_EQ(size(QStringLiteral("i\nwide line\ni")).width(), size(QStringLiteral("wide line")).width());
}

TEST_F(SizeWithFontTest, LineBreaksBeginNewLines) {
    EXPECT_EQ(size(QStringLiteral("a\nb")).height(), std::ceil(2 * lineHeight()));
    EXPECT_EQ(size(QStringLiteral("a\r\nb")), size(QStringLiteral("a\nb")));
}

TEST_F(SizeWithFontTest, WordWiderThanTheLimitIsBrokenInside) {
    const QSizeF measured = size(QStringLiteral("Donaudampfschifffahrtsgesellschaft"), 100);
    EXPECT_LE(measured.width(), 100);
    EXPECT_GT(measured.height(), lineHeight());
}

TEST_F(SizeWithFontTest, LimitWideEnoughForTheRoundedWidthKeepsOneLine) {
    const QString text = QStringLiteral("Brightness");
    const QSizeF measured = size(text);
    EXPECT_EQ(size(text, measured.width()), measured);
}

TEST_F(SizeWithFontTest, EmptyTextIsOneLineHighAndHasNoWidth) {
    EXPECT_EQ(size(QString()), QSizeF(0, lineHeight()));
}

TEST_F(SizeWithFontTest, AcceptsAbsurdLimits) {
    const QString text = QStringLiteral("Zoom");
    for (const double huge : {std::numeric_limits<double>::max(), std::numeric_limits<double>::infinity(),
                              std::numeric_limits<double>::quiet_NaN()})
        EXPECT_EQ(size(text, huge), size(text));
    for (const double none : {0.0, -5.0, -std::numeric_limits<double>::infinity()})
        EXPECT_EQ(size(text, none).height(), std::ceil(4 * lineHeight()));
}

} // namespace
} // namespace tavelo
