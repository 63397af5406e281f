// SPDX-License-Identifier: MIT
#include "panel/saved_alert.h"

#include <QMessageBox>

namespace tavelo {

void showSavedAlert(QWidget* parent, const Bundle& bundle) {
    QMessageBox alert(parent);
    alert.setWindowModality(Qt::ApplicationModal);
    alert.setText(QString::fromStdString(bundle.localizedString("Saved_successfully", {})));
    alert.setStandardButtons(QMessageBox::Ok);
    alert.exec();
}

} // namespace tavelo
