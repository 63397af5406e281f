// SPDX-License-Identifier: MIT
// A tab that selects a camera.
#pragma once

#include <optional>

#include <QColor>

#include "widgets/panel_button.h"

namespace tavelo {

/// A tab on top of the settings panel.  Its lower left corner is square, because it continues the panel's
/// left edge; the others are round.
class KTCameraButton : public PanelButton {
    Q_OBJECT

public:
    explicit KTCameraButton(QWidget* parent = nullptr);
    explicit KTCameraButton(const QRect& frame, QWidget* parent = nullptr);

    bool selected() const { return selected_; }
    void setSelected(bool selected);

    /// The outline's colour; if absent, that of the face.
    const std::optional<QColor>& borderColor() const { return borderColor_; }
    void setBorderColor(const std::optional<QColor>& color) { borderColor_ = color; }

    void drawRect(QPainter& painter, const QRectF& rect) override;

    QSize sizeHint() const override { return {100, 36}; }
    QAccessible::Role accessibleRole() const override { return QAccessible::RadioButton; }
    bool hasOnState() const override { return true; }
    bool isOnState() const override { return selected_; }

protected:
    QPainterPath focusPath(double distance) const override;

private:
    bool selected_ = false;
    std::optional<QColor> borderColor_;
};

} // namespace tavelo
