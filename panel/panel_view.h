// SPDX-License-Identifier: MIT
// The panel's view: creates, styles and places every widget of the window.
#pragma once

#include <QWidget>
#include <array>
#include <memory>

#include "panel/panel_layout.h"

namespace tavelo {

class Bundle;
class ImageView;
class KTCameraButton;
class KTCheckButton;
class KTDisplayView;
class KTProfileButton;
class KTSlider;
class KTSwitch;
class KTText;

/// One picture control: a title above a slider, the value beside it.
struct SliderRow {
    KTSlider* slider = nullptr;
    KTText* valueText = nullptr;
    KTText* titleText = nullptr;
};

/// The main view.  Draws its rounded background and the settings panel itself; everything else is a child
/// widget.  It does not access cameras: the controller reads and sets the widgets.  Thread-bound to the main
/// thread.
class PanelView final : public QWidget {
    Q_OBJECT

public:
    /// @param bundle provides the texts
    /// @param displayView becomes a child; if null, the preview's area stays black
    PanelView(const Bundle& bundle, std::unique_ptr<KTDisplayView> displayView);
    ~PanelView() override;

    /// Points per unit: 1, or less if the panel is scaled down.
    double scale() const { return scale_; }
    void setScale(double scale);

    /// Hides everything but the preview, which then fills the view.
    bool showsPictureAlone() const { return showsPictureAlone_; }
    void setShowsPictureAlone(bool alone);

    /// The settings panel, and the patch that makes its corner under the camera tabs square.  In units, with
    /// y downward.
    const QRectF& settingBackgroundView() const { return settingBackgroundView_; }
    const QRectF& settingBackgroundView_leftTop() const { return settingBackgroundView_leftTop_; }

    /// Sets every text again, in the bundle's current language.
    void retranslate(const Bundle& bundle);

    const SliderRow& row(PanelRow row) const { return rows_[static_cast<std::size_t>(row)]; }
    const std::array<SliderRow, panelRowCount>& rows() const { return rows_; }

    KTSlider* brightnessSlider() const { return row(PanelRow::brightness).slider; }
    KTText* brightnessValueText() const { return row(PanelRow::brightness).valueText; }
    KTText* brightnessTitleText() const { return row(PanelRow::brightness).titleText; }
    KTSlider* contrastSlider() const { return row(PanelRow::contrast).slider; }
    KTText* contrastValueText() const { return row(PanelRow::contrast).valueText; }
    KTText* contrastTitleText() const { return row(PanelRow::contrast).titleText; }
    KTSlider* saturationSlider() const { return row(PanelRow::saturation).slider; }
    KTText* saturationValueText() const { return row(PanelRow::saturation).valueText; }
    KTText* saturationTitleText() const { return row(PanelRow::saturation).titleText; }
    KTSlider* whiteBalanceSlider() const { return row(PanelRow::whiteBalance).slider; }
    KTText* whiteBalanceValueText() const { return row(PanelRow::whiteBalance).valueText; }
    KTText* whiteBalanceTitleText() const { return row(PanelRow::whiteBalance).titleText; }
    KTSlider* sharpnessSlider() const { return row(PanelRow::sharpness).slider; }
    KTText* sharpnessValueText() const { return row(PanelRow::sharpness).valueText; }
    KTText* sharpnessTitleText() const { return row(PanelRow::sharpness).titleText; }
    KTSlider* zoomSlider() const { return row(PanelRow::zoom).slider; }
    KTText* zoomValueText() const { return row(PanelRow::zoom).valueText; }
    KTText* zoomTitleText() const { return row(PanelRow::zoom).titleText; }
    KTSlider* panUpDownSlider() const { return row(PanelRow::panUpDown).slider; }
    KTText* panUpDownValueText() const { return row(PanelRow::panUpDown).valueText; }
    KTText* panUpDownTitleText() const { return row(PanelRow::panUpDown).titleText; }
    KTSlider* panLeftRightSlider() const { return row(PanelRow::panLeftRight).slider; }
    KTText* panLeftRightValueText() const { return row(PanelRow::panLeftRight).valueText; }
    KTText* panLeftRightTitleText() const { return row(PanelRow::panLeftRight).titleText; }

    KTText* mirrorTitleText() const { return mirrorTitleText_; }
    KTSwitch* mirrorSwitch() const { return mirrorSwitch_; }
    KTText* hz50Text() const { return hz50Text_; }
    KTCheckButton* hz50Button() const { return hz50Button_; }
    KTText* hz60Text() const { return hz60Text_; }
    KTCheckButton* hz60Button() const { return hz60Button_; }

    KTCameraButton* camera1Button() const { return camera1Button_; }
    KTCameraButton* camera2Button() const { return camera2Button_; }
    KTText* appTitleText() const { return appTitleText_; }
    KTText* appVersionText() const { return appVersionText_; }

    /// Buttons 1 to 4 at positions 0 to 3.
    const std::array<KTProfileButton*, profileCount>& profileButtons() const { return profileButtons_; }
    KTProfileButton* profile1Button() const { return profileButtons_[0]; }
    KTProfileButton* profile2Button() const { return profileButtons_[1]; }
    KTProfileButton* profile3Button() const { return profileButtons_[2]; }
    KTProfileButton* profile4Button() const { return profileButtons_[3]; }
    KTProfileButton* saveProfileButton() const { return saveProfileButton_; }
    KTProfileButton* restoreProfileButton() const { return restoreProfileButton_; }

    /// Null if no preview could be created.
    KTDisplayView* displayView() const { return displayView_; }
    ImageView* logoImageView() const { return logoImageView_; }
    KTProfileButton* minButton() const { return minButton_; }
    KTProfileButton* closeButton() const { return closeButton_; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void createMirrorRow();
    void createSliderRows();
    void createHead();
    void createProfileButtons();
    void createPreview(std::unique_ptr<KTDisplayView> displayView);
    void orderTabs();
    QSizeF sizeInUnits() const { return QSizeF(size()) / scale_; }
    PanelMeasures measures() const;
    void viewDidLayout();

    std::array<SliderRow, panelRowCount> rows_;

    KTText* mirrorTitleText_ = nullptr;
    KTSwitch* mirrorSwitch_ = nullptr;
    KTText* hz50Text_ = nullptr;
    KTCheckButton* hz50Button_ = nullptr;
    KTText* hz60Text_ = nullptr;
    KTCheckButton* hz60Button_ = nullptr;

    KTCameraButton* camera1Button_ = nullptr;
    KTCameraButton* camera2Button_ = nullptr;
    KTText* appTitleText_ = nullptr;
    KTText* appVersionText_ = nullptr;

    std::array<KTProfileButton*, profileCount> profileButtons_{};
    KTProfileButton* saveProfileButton_ = nullptr;
    KTProfileButton* restoreProfileButton_ = nullptr;
    KTDisplayView* displayView_ = nullptr;
    ImageView* logoImageView_ = nullptr;
    KTProfileButton* minButton_ = nullptr;
    KTProfileButton* closeButton_ = nullptr;

    double scale_ = 1;
    bool showsPictureAlone_ = false;
    QRectF settingBackgroundView_;
    QRectF settingBackgroundView_leftTop_;
};

} // namespace tavelo
