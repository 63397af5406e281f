// SPDX-License-Identifier: MIT
// The panel's view while it shows nothing but the picture.
#include <QPointer>

#include "panel/panel_view.h"
#include "video/kt_display_view.h"

namespace tavelo {

void PanelView::setShowsPictureAlone(bool alone) {
    if (displayView_ == nullptr || alone == showsPictureAlone_) return;
    showsPictureAlone_ = alone;
    QList<QPointer<QWidget>> elements; // a focus ring goes away with its control
    for (QWidget* element : findChildren<QWidget*>(Qt::FindDirectChildrenOnly))
        if (element != displayView_) elements << element;
    // Hidden, not covered: the Tab key and screen readers must not find them.
    for (const QPointer<QWidget>& element : elements)
        if (element) element->setVisible(!alone);
    viewDidLayout();
    update();
}

} // namespace tavelo
