// SPDX-License-Identifier: MIT
#include "panel/saved_alert.h"

#include <QGridLayout>
#include <QGuiApplication>
#include <QMessageBox>

#include "widgets/image.h"
#include "widgets/localized_text.h"
#include "widgets/panel_look.h"

namespace tavelo {
namespace {

constexpr QMargins margins(32, 28, 32, 24);
constexpr int gap = 8; // on either side of the spacer between icon and text
constexpr int distanceToButton = 22;

} // namespace

void showSavedAlert(QWidget* parent, const Bundle& bundle) {
    QMessageBox alert(parent);
    alert.setWindowModality(Qt::ApplicationModal);
    alert.setWindowTitle(QGuiApplication::applicationDisplayName());
    alert.setText(localizedText(bundle, "Saved_successfully"));
    alert.setIconPixmap(
        Image::fromFile(QStringLiteral(":/images/saved.svg")).pixmap(alert.devicePixelRatioF()));
    // Enter and Esc both activate the only button.
    alert.setDefaultButton(alert.addButton(localizedText(bundle, "OK"), QMessageBox::AcceptRole));
    applyPanelLook(alert);
    if (auto* layout = qobject_cast<QGridLayout*>(alert.layout())) {
        layout->setContentsMargins(margins);
        layout->setHorizontalSpacing(gap);
        layout->setVerticalSpacing(distanceToButton);
    }
    alert.exec();
}

} // namespace tavelo
