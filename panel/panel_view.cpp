// SPDX-License-Identifier: MIT
#include "panel/panel_view.h"

#include <QPainter>
#include <QPainterPath>
#include <cmath>
#include <limits>
#include <utility>

#include "panel/panel_controls.h"
#include "platform/bundle.h"
#include "text/measure/size_with_font.h"
#include "video/kt_display_view.h"
#include "widgets/drawing.h"
#include "widgets/image.h"
#include "widgets/image_view.h"
#include "widgets/kt_camera_button.h"
#include "widgets/kt_check_button.h"
#include "widgets/kt_profile_button.h"
#include "widgets/kt_slider.h"
#include "widgets/kt_switch.h"
#include "widgets/kt_text.h"
#include "widgets/localized_text.h"
#include "widgets/palette.h"
#include "widgets/text_shadow.h"

namespace tavelo {
namespace {

constexpr qreal viewRadius = 16;
constexpr qreal settingRadius = 10;

// Sizes in units.  A unit is a pixel if neither the desktop nor the panel is scaled.
QFont arial(int size) {
    QFont font(QStringLiteral("Arial"));
    font.setPixelSize(size);
    return font;
}

KTText* makeTitle(QWidget* parent) {
    auto* label = new KTText(parent);
    label->setFont(arial(16));
    label->setTextShadow(titleShadow());
    return label;
}

KTText* makeValue(QWidget* parent) {
    auto* label = new KTText(parent);
    label->setText(QStringLiteral("0"));
    label->setFont(arial(12));
    label->setTextColor(palette::outlineGrey);
    label->setBorderColor(palette::outlineGrey);
    label->setBackgroundColor(palette::trackGrey);
    return label;
}

KTText* makePlainText(QWidget* parent, const QString& text, int size) {
    auto* label = new KTText(parent);
    label->setText(text);
    label->setFont(arial(size));
    label->setTextColor(Qt::white);
    return label;
}

KTCameraButton* makeCameraButton(QWidget* parent, const QString& title) {
    auto* button = new KTCameraButton(parent);
    button->setText(title);
    button->setFont(arial(20));
    return button;
}

Image image(const QString& name) {
    return Image::fromFile(QStringLiteral(":/images/%1.svg").arg(name));
}

KTProfileButton* makeProfileButton(QWidget* parent) {
    auto* button = new KTProfileButton(parent);
    button->setFont(arial(10));
    button->setTextColor(Qt::white);
    button->setImage(image(QStringLiteral("profile")));
    button->setAlternateImage(image(QStringLiteral("profile_selected")));
    return button;
}

KTProfileButton* makeWindowButton(QWidget* parent, const QString& imageName) {
    auto* button = new KTProfileButton(parent);
    button->setImage(image(imageName));
    button->setImageContentMode(1);
    return button;
}

// The layout contains half units.  They are rounded upward, because the row's texts are drawn a little high.
QRectF wholeFrame(const QRectF& frame, qreal viewHeight) {
    return flipped(frame.toRect(), viewHeight);
}

} // namespace

PanelView::PanelView(const Bundle& bundle, std::unique_ptr<KTDisplayView> displayView) {
    createMirrorRow();
    createSliderRows();
    createHead();
    createProfileButtons();
    createPreview(std::move(displayView));
    orderTabs();
    retranslate(bundle);
}

PanelView::~PanelView() = default;

void PanelView::createMirrorRow() {
    mirrorTitleText_ = makeTitle(this);
    mirrorSwitch_ = new KTSwitch(this);
    mirrorTitleText_->setBuddy(mirrorSwitch_);
    hz50Text_ = makeTitle(this);
    hz50Text_->setText(QStringLiteral("50 Hz"));
    hz50Button_ = new KTCheckButton(this);
    hz50Text_->setBuddy(hz50Button_);
    hz50Button_->setCheck(true);
    hz50Button_->setAccessibleName(hz50Text_->text());
    hz60Text_ = makeTitle(this);
    hz60Text_->setText(QStringLiteral("60 Hz"));
    hz60Button_ = new KTCheckButton(this);
    hz60Text_->setBuddy(hz60Button_);
    hz60Button_->setAccessibleName(hz60Text_->text());
}

void PanelView::createSliderRows() {
    for (SliderRow& row : rows_) {
        row.slider = new KTSlider(this);
        row.valueText = makeValue(this);
        row.titleText = makeTitle(this);
    }
}

void PanelView::createHead() {
    camera1Button_ = makeCameraButton(this, QStringLiteral("Cam 1"));
    camera1Button_->setEnabled(false);
    camera2Button_ = makeCameraButton(this, QStringLiteral("Cam 2"));
    camera2Button_->setEnabled(false);
    appTitleText_ = makePlainText(this, QStringLiteral("TAVELO CONTROL PANEL"), 32);
    appVersionText_ = makePlainText(this, QStringLiteral("V" TAVELO_RELEASE), 12);
}

void PanelView::createProfileButtons() {
    for (KTProfileButton*& button : profileButtons_) {
        button = makeProfileButton(this);
        button->setStateIsChoice(true);
    }
    saveProfileButton_ = makeProfileButton(this);
    saveProfileButton_->setState(1);
    restoreProfileButton_ = makeProfileButton(this);
}

void PanelView::createPreview(std::unique_ptr<KTDisplayView> displayView) {
    displayView_ = displayView.release();
    if (displayView_ != nullptr) displayView_->setParent(this);
    logoImageView_ = new ImageView(image(QStringLiteral("logo")), this);
    logoImageView_->setAccessibleName(QStringLiteral("Tavelo"));
    minButton_ = makeWindowButton(this, QStringLiteral("min"));
    closeButton_ = makeWindowButton(this, QStringLiteral("close"));
}

void PanelView::retranslate(const Bundle& bundle) {
    for (std::size_t i = 0; i < panelRowCount; ++i) {
        rows_[i].titleText->setText(localizedText(bundle, panelControl(static_cast<PanelRow>(i)).title));
        rows_[i].slider->setAccessibleName(rows_[i].titleText->text());
    }
    mirrorTitleText_->setText(localizedText(bundle, "Mirror"));
    mirrorSwitch_->setAccessibleName(mirrorTitleText_->text());
    const QString profile = localizedText(bundle, "PROFILE");
    for (std::size_t i = 0; i < profileCount; ++i)
        profileButtons_[i]->setText(QStringLiteral("%1 %2").arg(profile).arg(i + 1));
    saveProfileButton_->setText(localizedText(bundle, "SAVE_TO_PROFILE"));
    restoreProfileButton_->setText(localizedText(bundle, "RESTORE_PROFILE_TO_DEFAULT"));
    if (displayView_ != nullptr) displayView_->setAccessibleName(localizedText(bundle, "Preview"));
    minButton_->setAccessibleName(localizedText(bundle, "Minimise"));
    closeButton_->setAccessibleName(localizedText(bundle, "Close"));
    viewDidLayout(); // the mirror row depends on its title's width
}

// From top to bottom, first the settings, then the preview's column.
void PanelView::orderTabs() {
    QWidget* last = camera1Button_;
    const auto next = [&last](QWidget* widget) {
        setTabOrder(last, widget);
        last = widget;
    };
    next(camera2Button_);
    for (std::size_t i = panelRowCount; i-- > 0;)
        next(rows_[i].slider);
    next(mirrorSwitch_);
    next(hz50Button_);
    next(hz60Button_);
    for (KTProfileButton* button : profileButtons_)
        next(button);
    next(saveProfileButton_);
    next(restoreProfileButton_);
    next(minButton_);
    next(closeButton_);
}

PanelMeasures PanelView::measures() const {
    constexpr double unlimited = std::numeric_limits<double>::max();
    return {.view = sizeInUnits(),
            .title = sizeWithFont(appTitleText_->text(), appTitleText_->font(), unlimited),
            .mirrorTitle = sizeWithFont(mirrorTitleText_->text(), mirrorTitleText_->font(), unlimited),
            .logo = logoImageView_->image().size()};
}

void PanelView::viewDidLayout() {
    const PanelLayout layout = layoutPanel(measures());
    const qreal height = sizeInUnits().height();
    const auto place = [height, this](PanelElement* element, const QRectF& frame) {
        element->place(wholeFrame(frame, height), scale_);
    };
    settingBackgroundView_ = flipped(layout.settingBackgroundView, height);
    settingBackgroundView_leftTop_ = flipped(layout.settingBackgroundView_leftTop, height);
    place(mirrorTitleText_, layout.mirrorTitleText);
    place(mirrorSwitch_, layout.mirrorSwitch);
    place(hz50Text_, layout.hz50Text);
    place(hz50Button_, layout.hz50Button);
    place(hz60Text_, layout.hz60Text);
    place(hz60Button_, layout.hz60Button);
    for (std::size_t i = 0; i < panelRowCount; ++i) {
        place(rows_[i].slider, layout.rows[i].slider);
        place(rows_[i].valueText, layout.rows[i].valueText);
        place(rows_[i].titleText, layout.rows[i].titleText);
    }
    place(camera1Button_, layout.camera1Button);
    place(camera2Button_, layout.camera2Button);
    place(appTitleText_, layout.appTitleText);
    place(appVersionText_, layout.appVersionText);
    for (std::size_t i = 0; i < profileCount; ++i)
        place(profileButtons_[i], layout.profileButtons[i]);
    place(saveProfileButton_, layout.saveProfileButton);
    place(restoreProfileButton_, layout.restoreProfileButton);
    if (displayView_ != nullptr)
        displayView_->setGeometry(
            showsPictureAlone_ ? rect() : scaledFrame(wholeFrame(layout.display, height), scale_));
    place(logoImageView_, layout.logo);
    place(minButton_, layout.minButton);
    place(closeButton_, layout.closeButton);
}

void PanelView::setScale(double scale) {
    if (scale == scale_) return;
    scale_ = scale;
    viewDidLayout();
    update();
}

void PanelView::resizeEvent(QResizeEvent* /*event*/) {
    viewDidLayout();
    update();
}

void PanelView::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.scale(scale_, scale_);
    painter.setBrush(palette::panelGrey);
    painter.drawRoundedRect(QRectF(QPointF(), sizeInUnits()), viewRadius, viewRadius);
    painter.setBrush(palette::settingGrey);
    painter.drawRoundedRect(drawing::snapped(painter, settingBackgroundView_), settingRadius, settingRadius);
    // The corner below the camera tabs is square.
    painter.drawRect(drawing::snapped(painter, settingBackgroundView_leftTop_));
}

} // namespace tavelo
