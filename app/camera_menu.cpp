// SPDX-License-Identifier: MIT
#include "app/camera_menu.h"

#include <utility>

#include "app/menu_text.h"
#include "panel/automatic_functions.h"
#include "widgets/foreign_text.h"
#include "widgets/localized_text.h"

namespace tavelo {

CameraMenu::CameraMenu(ViewController& panel, const Bundle& bundle, Status status)
    : panel_(panel),
      bundle_(bundle),
      status_(std::move(status)) {
    statusLine_.setEnabled(false);
    statusLine_.setObjectName(QStringLiteral("status"));
    showStatus();
}

void CameraMenu::showStatus() {
    statusLine_.setText(plainMenuText(statusText(status_(), bundle_)));
}

void CameraMenu::retranslate() {
    showStatus();
}

QList<QAction*> CameraMenu::entries() {
    cameras_.reset();
    made_.clear();
    showStatus();
    return QList<QAction*>{&statusLine_, separator()} + cameraEntries() + QList<QAction*>{separator()} +
           automaticEntries();
}

QAction* CameraMenu::separator() {
    made_.push_back(std::make_unique<QAction>());
    made_.back()->setSeparator(true);
    return made_.back().get();
}

QAction* CameraMenu::made(const QString& text, bool checked) {
    made_.push_back(std::make_unique<QAction>(text));
    QAction* const action = made_.back().get();
    action->setCheckable(true);
    action->setChecked(checked);
    return action;
}

QList<QAction*> CameraMenu::cameraEntries() {
    QList<QAction*> entries;
    cameras_ = std::make_unique<QActionGroup>(nullptr);
    int number = 0;
    for (const std::shared_ptr<CaptureDevice>& camera : panel_.devicesArray()) {
        // Two cameras of one make have one name.
        const QString text =
            QStringLiteral("%1  %2").arg(++number).arg(plainMenuText(foreignName(camera->localizedName())));
        QAction* const entry = made(text, camera == panel_.shownCamera());
        cameras_->addAction(entry);
        connect(entry, &QAction::triggered, this, [this, camera] { panel_.showCamera(camera); });
        entries << entry;
    }
    return entries;
}

QList<QAction*> CameraMenu::automaticEntries() {
    QList<QAction*> entries;
    const KTUVCManager& manager = panel_.uvcManager();
    if (!panel_.shownCamera() || !manager.isControllable()) return entries;
    for (const AutomaticFunction& function : automaticFunctions()) {
        if (!isSupported(manager, function)) continue;
        const QString text = localizedText(bundle_, function.title);
        QAction* const entry = made(text, isOn(manager, function));
        connect(entry, &QAction::triggered, this,
                [this, &function](bool on) { panel_.setAutomatic(function, on); });
        entries << entry;
    }
    return entries;
}

} // namespace tavelo
