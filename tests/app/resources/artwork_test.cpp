// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <QImage>
#include <QPainter>

#include "widgets/image.h"

namespace tavelo {
namespace {

QImage drawn(const char* name, QSize size) {
    QImage picture(size, QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    Image::fromFile(QStringLiteral(":/images/%1.svg").arg(QLatin1String(name))).draw(painter, picture.rect());
    return picture;
}

TEST(Artwork, ContainsEveryImage) {
    for (const char* name : {"logo", "min", "close", "profile", "profile_selected", "tavelo-control-panel"}) {
        EXPECT_FALSE(Image::fromFile(QStringLiteral(":/images/%1.svg").arg(QLatin1String(name))).isNull())
            << name;
    }
    EXPECT_TRUE(Image::fromFile(QStringLiteral(":/images/no_such_image.svg")).isNull());
}

TEST(Artwork, LogoFitsTheRowBelowThePreview) {
    EXPECT_EQ(Image::fromFile(QStringLiteral(":/images/logo.svg")).size(), QSizeF(150, 32));
}

TEST(Artwork, WindowButtonsFitTheirThirtyPointSquare) {
    for (const char* name : {"min", "close"}) {
        const QSizeF size =
            Image::fromFile(QStringLiteral(":/images/%1.svg").arg(QLatin1String(name))).size();
        EXPECT_LE(size.width(), 30) << name;
        EXPECT_LE(size.height(), 30) << name;
    }
}

TEST(Artwork, ProfileFaceHasAnEdgeOfOneSharpPixel) {
    const QImage face = drawn("profile", QSize(119, 32));
    for (const int inwards : {0, 1}) {
        EXPECT_EQ(face.pixelColor(inwards, 16), face.pixelColor(118 - inwards, 16));
        EXPECT_EQ(face.pixelColor(inwards, 16).alpha(), 255);
    }
    EXPECT_GT(face.pixelColor(0, 16).red(), 2 * face.pixelColor(1, 16).red());
    EXPECT_EQ(face.pixelColor(1, 16), face.pixelColor(2, 16));
}

TEST(Artwork, DimmedFacesDoNotLetTheirEdgeShowThrough) {
    const QSize size(119, 32);
    QImage dimmed(size, QImage::Format_RGB32);
    dimmed.fill(Qt::black);
    QPainter painter(&dimmed);
    Image::fromFile(QStringLiteral(":/images/profile.svg")).draw(painter, dimmed.rect(), 0.5);
    const int face = drawn("profile", size).pixelColor(60, 16).red();
    EXPECT_NEAR(dimmed.pixelColor(60, 16).red(), face / 2, 1);
}

TEST(Artwork, ProfileFacesFillBothButtonWidthsAndDifferInColour) {
    for (const QSize size : {QSize(119, 32), QSize(180, 32)}) {
        const QColor normal = drawn("profile", size).pixelColor(size.width() / 2, 16);
        const QColor selected = drawn("profile_selected", size).pixelColor(size.width() / 2, 16);
        EXPECT_EQ(normal.red(), normal.green());
        EXPECT_EQ(normal.alpha(), 255);
        EXPECT_GT(selected.red(), 3 * selected.green());

        const QImage face = drawn("profile", size);
        EXPECT_EQ(face.pixelColor(0, 16).alpha(), 255) << "reaches the left edge";
        EXPECT_EQ(face.pixelColor(size.width() - 1, 16).alpha(), 255) << "reaches the right edge";
        EXPECT_LT(face.pixelColor(0, 0).alpha(), 64) << "the corner is round";
    }
}

} // namespace
} // namespace tavelo
