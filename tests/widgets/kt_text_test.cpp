// SPDX-License-Identifier: MIT
#include "widgets/kt_text.h"

#include <gtest/gtest.h>

#include <QSignalSpy>
#include <QTest>

#include "text/measure/size_with_font.h"
#include "widgets/kt_check_button.h"

#include "picture.h"

namespace tavelo {
namespace {

constexpr QSize size(120, 30);

class Label : public testing::Test {
protected:
    Label() {
        QFont font(QStringLiteral("Arial"));
        font.setPixelSize(16);
        label_.setFont(font);
    }

    KTText label_;
};

TEST(KTText, IsWhiteEnabledSixteenPointsAndUndecoratedAtFirst) {
    const KTText label(QRect(1, 2, 30, 40));
    EXPECT_EQ(label.geometry(), QRect(1, 2, 30, 40));
    EXPECT_EQ(label.font().pixelSize(), 16);
    EXPECT_EQ(label.textColor(), QColor(Qt::white));
    EXPECT_EQ(label.disableColor(), QColor(60, 60, 60));
    EXPECT_TRUE(label.enable());
    EXPECT_TRUE(label.text().isEmpty());
    EXPECT_FALSE(label.borderColor());
    EXPECT_FALSE(label.backgroundColor());
    EXPECT_FALSE(label.textShadow());
}

TEST_F(Label, DrawsOnlyItsTextIfItHasABackgroundButNoBorder) {
    label_.setText(QStringLiteral("Zoom"));
    const QImage plain = drawn(label_, size);
    label_.setBackgroundColor(QColor(Qt::blue));
    EXPECT_EQ(drawn(label_, size), plain);
}

TEST_F(Label, DrawsAPillIfItHasABorder) {
    label_.setBorderColor(palette::outlineGrey);
    label_.setBackgroundColor(palette::trackGrey);
    const QImage image = drawn(label_, {46, 16}, 2);
    EXPECT_EQ(image.pixelColor(46, 16), palette::trackGrey);
    EXPECT_EQ(image.pixelColor(46, 0), palette::outlineGrey);
    EXPECT_EQ(image.pixelColor(46, 31), palette::outlineGrey);
    EXPECT_TRUE(similar(image.pixelColor(0, 16), palette::outlineGrey));
    EXPECT_EQ(image.pixelColor(0, 0).alpha(), 0);
    EXPECT_EQ(image.pixelColor(5, 2).alpha(), 0) << "the corner radius is half the height";
    EXPECT_GE(image.pixelColor(5, 5).alpha(), 250);
}

TEST_F(Label, DoesNotFillThePillWithoutABackground) {
    label_.setBorderColor(palette::outlineGrey);
    const QImage image = drawn(label_, {46, 16}, 2);
    EXPECT_EQ(image.pixelColor(46, 16).alpha(), 0);
    EXPECT_EQ(image.pixelColor(46, 0), palette::outlineGrey);
}

TEST_F(Label, UsesItsTextColourWhileEnabledAndItsDisableColourOtherwise) {
    label_.setText(QStringLiteral("Zoom"));
    label_.setTextColor(Qt::green);
    label_.setDisableColor(Qt::blue);
    EXPECT_TRUE(contains(drawn(label_, size), Qt::green));
    label_.setEnable(false);
    const QImage image = drawn(label_, size);
    EXPECT_TRUE(contains(image, Qt::blue));
    EXPECT_FALSE(contains(image, Qt::green));
    EXPECT_TRUE(label_.isEnabled()) << "only the look changes";
}

TEST_F(Label, DrawsItsTextOnePointAboveTheCentre) {
    label_.setText(QStringLiteral("HH"));
    const QSizeF text = sizeWithFont(label_.text(), label_.font(), size.width());
    // Draws the same text at the same position without the label.
    QImage expected(size, QImage::Format_ARGB32_Premultiplied);
    expected.fill(Qt::transparent);
    QPainter painter(&expected);
    painter.setFont(label_.font());
    painter.setPen(Qt::white);
    painter.drawText(QRectF(std::round((size.width() - text.width()) / 2),
                            std::round((size.height() - text.height()) / 2 - 1), text.width(), text.height()),
                     Qt::AlignHCenter | Qt::AlignTop, label_.text());
    painter.end();
    EXPECT_EQ(inkBounds(drawn(label_, size)), inkBounds(expected));
}

TEST_F(Label, DrawsItsShadowToTheLowerRight) {
    label_.setText(QStringLiteral("Zoom"));
    const QRect plain = inkBounds(drawn(label_, size));
    label_.setTextShadow(titleShadow());
    const QImage image = drawn(label_, size);
    EXPECT_EQ(inkBounds(image), plain.united(plain.translated(2, 2)));
    // Pixels with only the shadow are at most one third black.
    for (int x = plain.left(); x <= plain.right() + 2; ++x) {
        const QColor pixel = image.pixelColor(x, plain.bottom() + 2);
        EXPECT_EQ(pixel.red(), 0);
        EXPECT_LE(pixel.alpha(), 85);
    }
}

TEST_F(Label, WrapsATextThatIsWiderThanTheLabel) {
    label_.setText(QStringLiteral("one two three four five six seven"));
    const QSize narrow(80, 120);
    const QRect ink = inkBounds(drawn(label_, narrow));
    EXPECT_GE(ink.left(), 0);
    EXPECT_LE(ink.width(), 80);
    EXPECT_GT(ink.height(), 60);
    EXPECT_NEAR(ink.center().y(), 60, 4);
}

TEST_F(Label, DrawsNothingWithoutText) {
    EXPECT_TRUE(inkBounds(drawn(label_, size)).isNull());
}

TEST_F(Label, SizeHintFitsItsText) {
    label_.setText(QStringLiteral("Sharpness"));
    EXPECT_EQ(label_.sizeHint(), sizeWithFont(label_.text(), label_.font(), 1000).toSize());
}

class LabelWithBuddy : public testing::Test {
protected:
    LabelWithBuddy() {
        label_.setGeometry(0, 0, 60, 20);
        button_.setGeometry(70, 0, 20, 20);
        label_.setBuddy(&button_);
        window_.show();
    }

    QWidget window_;
    KTText label_{&window_};
    KTCheckButton button_{&window_};
    QSignalSpy clicked_{&button_, &KTCheckButton::clicked};
};

TEST_F(LabelWithBuddy, ForwardsClicksToItsButton) {
    QTest::mouseClick(&label_, Qt::LeftButton);
    EXPECT_EQ(clicked_.size(), 1);
    QTest::mouseRelease(&label_, Qt::LeftButton);
    EXPECT_EQ(clicked_.size(), 1) << "each release belongs to a press";
    QTest::mousePress(&label_, Qt::LeftButton);
    EXPECT_EQ(clicked_.size(), 1) << "on release";
    QTest::mouseRelease(&label_, Qt::LeftButton, {}, QPoint(10, 50));
    EXPECT_EQ(clicked_.size(), 1) << "released elsewhere";
    QTest::mouseClick(&label_, Qt::RightButton);
    EXPECT_EQ(clicked_.size(), 1);
}

TEST_F(LabelWithBuddy, DoesNotClickADisabledButton) {
    button_.setEnabled(false);
    QTest::mouseClick(&label_, Qt::LeftButton);
    EXPECT_EQ(clicked_.size(), 0);
}

TEST_F(LabelWithBuddy, IgnoresClicksOnceTheButtonIsGone) {
    EXPECT_FALSE(label_.testAttribute(Qt::WA_TransparentForMouseEvents));
    label_.setBuddy(nullptr);
    EXPECT_TRUE(label_.testAttribute(Qt::WA_TransparentForMouseEvents));
    QTest::mouseClick(&label_, Qt::LeftButton);
    EXPECT_EQ(clicked_.size(), 0);
}

} // namespace
} // namespace tavelo
