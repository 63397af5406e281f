// SPDX-License-Identifier: MIT
// A button that shows an image.
#pragma once

#include <QColor>

#include "widgets/image.h"
#include "widgets/panel_button.h"

namespace tavelo {

/// An image with a title over it, without background or border.  If disabled, the image is dimmed.
class KTProfileButton : public PanelButton {
    Q_OBJECT

public:
    explicit KTProfileButton(QWidget* parent = nullptr);

    /// 0, or 1 (on), which shows the alternate image if there is one.  A click does not change it.
    int state() const { return state_; }
    void setState(int state);

    const Image& image() const { return image_; }
    void setImage(const Image& image);
    const Image& alternateImage() const { return alternateImage_; }
    void setAlternateImage(const Image& image);

    /// 0 stretches the image to the bounds, anything else centres it at its natural size.
    int imageContentMode() const { return imageContentMode_; }
    void setImageContentMode(int mode) { imageContentMode_ = mode; }

    /// Of the title while enabled; an invalid colour (the initial value) means black.
    const QColor& textColor() const { return textColor_; }
    void setTextColor(const QColor& color) { textColor_ = color; }

    /// Whether `state` has a meaning for the user (a selected profile) and is reported to screen readers, or
    /// only changes the look.  Initially false.
    bool stateIsChoice() const { return stateIsChoice_; }
    void setStateIsChoice(bool choice) { stateIsChoice_ = choice; }

    void drawRect(QPainter& painter, const QRectF& rect) override;

    QSize sizeHint() const override { return {119, 32}; }
    bool hasOnState() const override { return stateIsChoice_; }
    bool isOnState() const override { return state_ == 1; }

protected:
    QPainterPath focusPath(double distance) const override;

private:
    int state_ = 0;
    Image image_;
    Image alternateImage_;
    int imageContentMode_ = 0;
    QColor textColor_;
    bool stateIsChoice_ = false;
};

} // namespace tavelo
