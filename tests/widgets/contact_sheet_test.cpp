// SPDX-License-Identifier: MIT
// Draws all controls in all states on one page, for visual inspection.
#include <gtest/gtest.h>

#include <QApplication>
#include <QImage>
#include <QPainter>

#include "widgets/image_view.h"
#include "widgets/kt_camera_button.h"
#include "widgets/kt_check_button.h"
#include "widgets/kt_profile_button.h"
#include "widgets/kt_slider.h"
#include "widgets/kt_switch.h"
#include "widgets/kt_text.h"
#include "widgets/palette.h"

#include "picture.h"

namespace tavelo {
namespace {

constexpr QSize pageSize(860, 470);

QFont arial(int size) {
    QFont font(QStringLiteral("Arial"));
    font.setPixelSize(size);
    return font;
}

Image artwork(const char* name) {
    return Image::fromFile(QStringLiteral(":/images/%1.svg").arg(QLatin1String(name)));
}

// A page in the panel's colours, with children at fixed positions like in the panel.
class Page : public QWidget {
public:
    Page() {
        resize(pageSize);
        addTabs();
        addSliders();
        addSwitches();
        addProfileButtons();
        addArtwork();
    }

    const std::vector<QWidget*>& controls() const { return controls_; }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.fillRect(rect(), QColor(38, 38, 38));
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor(49, 49, 49));
        painter.drawRoundedRect(QRectF(30, 66, 485, 374), 10, 10);
        painter.drawRect(QRectF(30, 66, 240, 180));
    }

private:
    KTText* addText(const QRect& frame, const QString& text, int size) {
        auto* label = new KTText(frame, this);
        label->setFont(arial(size));
        label->setText(text);
        return label;
    }

    void addTabs() {
        int x = 30;
        for (const bool enabled : {true, true, false}) {
            auto* tab = new KTCameraButton(QRect(x, 30, 100, 36), this);
            tab->setFont(arial(20));
            tab->setText(x == 30 ? QStringLiteral("Cam 1") : QStringLiteral("Cam 2"));
            tab->setSelected(x == 30 || !enabled);
            tab->setEnabled(enabled);
            if (x == 30) controls_.push_back(tab);
            x += 108;
        }
    }

    void addSliders() {
        int y = 90;
        for (const double value : {0.0, 0.4, 1.0, 0.6}) {
            const bool enabled = value != 0.6;
            auto* title = addText({60, y, 360, 28}, QStringLiteral("White Balance"), 16);
            title->setTextShadow(titleShadow());
            title->setEnable(enabled);
            auto* slider = new KTSlider(QRect(60, y + 28, 360, 16), this);
            slider->setFloatValue(value);
            slider->setEnabled(enabled);
            if (value == 0.4) controls_.push_back(slider);
            auto* label = addText({430, y + 28, 46, 16}, QString::number(value * 6500), 12);
            label->setTextColor(palette::outlineGrey);
            label->setBorderColor(palette::outlineGrey);
            label->setBackgroundColor(palette::trackGrey);
            y += 54;
        }
    }

    void addSwitches() {
        int y = 320;
        for (const bool enabled : {true, false}) {
            addText({60, y, 60, 18}, QStringLiteral("Mirror"), 16)->setEnable(enabled);
            for (const bool on : {false, true}) {
                auto* mirror = new KTSwitch(this);
                mirror->setGeometry(on ? 180 : 128, y, 40, 18);
                mirror->setOn(on);
                mirror->setEnabled(enabled);
                auto* check = new KTCheckButton(this);
                check->setGeometry(on ? 410 : 320, y, 18, 18);
                check->setCheck(on);
                check->setEnabled(enabled);
                auto* title = addText({on ? 350 : 260, y, 56, 18},
                                      on ? QStringLiteral("60 Hz") : QStringLiteral("50 Hz"), 16);
                title->setTextShadow(titleShadow());
                title->setEnable(enabled);
                if (enabled && on) controls_.insert(controls_.end(), {mirror, check});
            }
            y += 40;
        }
    }

    KTProfileButton* addProfileButton(const QRect& frame, const QString& title, int state) {
        auto* button = new KTProfileButton(this);
        button->setGeometry(frame);
        button->setFont(arial(10));
        button->setText(title);
        button->setTextColor(Qt::white);
        button->setImage(artwork("profile"));
        button->setAlternateImage(artwork("profile_selected"));
        button->setState(state);
        return button;
    }

    void addProfileButtons() {
        controls_.push_back(addProfileButton({545, 100, 119, 32}, QStringLiteral("PROFILE 1"), 0));
        addProfileButton({684, 100, 119, 32}, QStringLiteral("PROFILE 2"), 1);
        addProfileButton({545, 150, 119, 32}, QStringLiteral("プロファイル 3"), 0)->setEnabled(false);
        addProfileButton({684, 150, 119, 32}, QStringLiteral("PROFIL 4"), 1)->setEnabled(false);
        addProfileButton({545, 200, 119, 32}, QStringLiteral("SAVE TO PROFILE"), 1);
        addProfileButton({545, 250, 180, 32}, QStringLiteral("RESTORE PROFILE TO DEFAULT"), 0);
        addProfileButton({545, 300, 180, 32}, QStringLiteral("AUF STANDARD ZURÜCKSETZEN"), 1);
        addText({545, 20, 280, 40}, QStringLiteral("Tavelo, 32 points"), 32);
    }

    void addArtwork() {
        auto* logo = new ImageView(artwork("logo"), this);
        logo->setGeometry(545, 350, 150, 32);
        auto* icon = new ImageView(artwork("tavelo-control-panel"), this);
        icon->setGeometry(745, 250, 96, 96);
        auto* small = new ImageView(artwork("tavelo-control-panel"), this);
        small->setGeometry(745, 356, 32, 32);
        int x = 784;
        for (const char* name : {"min", "close"}) {
            auto* button = new KTProfileButton(this);
            button->setGeometry(x, 356, 30, 30);
            button->setImage(artwork(name));
            button->setImageContentMode(1);
            controls_.push_back(button);
            x += 36;
        }
    }

    std::vector<QWidget*> controls_; // one per kind
};

QImage photograph(Page& page, double ratio) {
    QImage image((QSizeF(page.size()) * ratio).toSize(), QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(ratio);
    page.render(&image);
    return image;
}

TEST(ContactSheet, ShowsEveryControlAtEveryPixelRatio) {
    for (const double ratio : {1.0, 1.5, 2.0}) {
        Page page;
        page.show();
        const QImage image = photograph(page, ratio);
        EXPECT_TRUE(contains(image, palette::accentRed));
        EXPECT_TRUE(contains(image, palette::trackGrey));
        EXPECT_TRUE(image.save(QStringLiteral(CONTACT_SHEET_FOLDER "/contact-sheet-%1.png").arg(ratio)));
    }
}

TEST(ContactSheet, ShowsTheFocusRingOfEveryKindOfControl) {
    constexpr double ratio = 2;
    Page page;
    page.show();
    QApplication::setActiveWindow(&page);
    QImage sheet(QSize(420, 440) * ratio, QImage::Format_ARGB32_Premultiplied);
    sheet.setDevicePixelRatio(ratio);
    sheet.fill(QColor(38, 38, 38));
    QPainter painter(&sheet);
    int y = 0;
    for (QWidget* control : page.controls()) {
        if (QWidget* last = QApplication::focusWidget()) last->clearFocus();
        const QImage plain = photograph(page, ratio);
        control->setFocus(Qt::ShortcutFocusReason);
        const QImage focused = photograph(page, ratio);
        EXPECT_NE(plain, focused);
        const QRect around = control->geometry().adjusted(-12, -12, 12, 12);
        painter.drawImage(QRectF(QPointF(10, y), around.size()), focused,
                          QRectF(around.topLeft() * ratio, around.size() * ratio));
        y += around.height() + 4;
    }
    painter.end();
    EXPECT_TRUE(sheet.save(QStringLiteral(CONTACT_SHEET_FOLDER "/contact-sheet-focus.png")));
}

} // namespace
} // namespace tavelo
