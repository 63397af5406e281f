// SPDX-License-Identifier: MIT
#include "integration/picture_comparison.h"

#include <gtest/gtest.h>

#include <QPainter>

namespace tavelo {
namespace {

QImage pictureWithText(const QPoint& where, const QColor& color = Qt::white) {
    QImage picture(200, 100, QImage::Format_RGB32);
    picture.fill(QColor(49, 49, 49));
    QPainter painter(&picture);
    QFont font(QStringLiteral("Arial"));
    font.setPixelSize(16);
    painter.setFont(font);
    painter.setPen(color);
    painter.drawText(where, QStringLiteral("Zoom"));
    return picture;
}

TEST(PictureComparison, FindsNothingBetweenEqualPictures) {
    EXPECT_EQ(comparePictures(pictureWithText({40, 40}), pictureWithText({40, 40})).worst, 0);
}

TEST(PictureComparison, ToleratesALittleNoiseInEveryPixel) {
    const QImage kept = pictureWithText({40, 40});
    QImage noisy = kept;
    for (int y = 0; y < noisy.height(); ++y) {
        for (int x = 0; x < noisy.width(); ++x) {
            const QColor color = kept.pixelColor(x, y);
            const int noise = (x * 7 + y * 3) % 5 - 2;
            const auto moved = [noise](int channel) { return std::clamp(channel + noise, 0, 255); };
            noisy.setPixelColor(x, y, QColor(moved(color.red()), moved(color.green()), moved(color.blue())));
        }
    }
    EXPECT_GT(comparePictures(kept, noisy).worst, 0);
    EXPECT_LE(comparePictures(kept, noisy).worst, pictureTolerance);
}

TEST(PictureComparison, FindsATextThatMovedByOnePixel) {
    const PictureDifference difference =
        comparePictures(pictureWithText({40, 40}), pictureWithText({40, 41}));
    EXPECT_GT(difference.worst, pictureTolerance);
    EXPECT_TRUE(QRect(32, 24, 64, 24).contains(difference.where));
}

TEST(PictureComparison, FindsATextOfAnotherGrey) {
    const PictureDifference difference =
        comparePictures(pictureWithText({40, 40}), pictureWithText({40, 40}, QColor(200, 200, 200)));
    EXPECT_GT(difference.worst, pictureTolerance);
}

TEST(PictureComparison, FindsACornerThatIsNoLongerTransparent) {
    QImage kept(64, 64, QImage::Format_ARGB32_Premultiplied);
    kept.fill(Qt::black);
    QImage drawn = kept;
    for (int y = 0; y < 4; ++y) {
        for (int x = 0; x < 4; ++x)
            kept.setPixelColor(x, y, Qt::transparent);
    }
    EXPECT_EQ(comparePictures(kept, drawn).where, QRect(0, 0, 8, 8));
    EXPECT_GT(comparePictures(kept, drawn).worst, pictureTolerance);
}

TEST(PictureComparison, PicturesOfDifferentSizesDiffer) {
    const QImage kept = pictureWithText({40, 40});
    EXPECT_EQ(comparePictures(kept, kept.copy(0, 0, 199, 100)).worst, 255);
    EXPECT_EQ(comparePictures({}, kept).worst, 255);
}

TEST(PictureComparison, ShowsDifferencesInRed) {
    QImage kept(16, 16, QImage::Format_RGB32);
    kept.fill(Qt::black);
    QImage drawn = kept;
    drawn.setPixelColor(3, 5, Qt::white);
    const QImage shown = showDifference(kept, drawn);
    EXPECT_EQ(shown.pixelColor(3, 5).red(), 255);
    EXPECT_LT(shown.pixelColor(3, 5).green(), 128);
    EXPECT_EQ(shown.pixelColor(4, 5), QColor(Qt::black));
}

} // namespace
} // namespace tavelo
