// SPDX-License-Identifier: MIT
// Shows an image.
#pragma once

#include <QWidget>

#include "widgets/image.h"
#include "widgets/panel_element.h"

namespace tavelo {

/// Shows an image stretched to its bounds.  Thread-bound to the main thread.
class ImageView : public QWidget, public PanelElement {
    Q_OBJECT

public:
    explicit ImageView(Image image, QWidget* parent = nullptr);

    const Image& image() const { return image_; }

    void drawRect(QPainter& painter, const QRectF& rect);

    QSize sizeHint() const override { return image_.size().toSize(); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const Image image_;
};

} // namespace tavelo
