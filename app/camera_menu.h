// SPDX-License-Identifier: MIT
// The camera's part of the context menu.
#pragma once

#include <QAction>
#include <QActionGroup>
#include <QObject>
#include <functional>
#include <memory>
#include <vector>

#include "app/menu_section.h"
#include "app/picture_status.h"
#include "panel/view_controller.h"
#include "platform/bundle.h"

namespace tavelo {

/// What the preview shows or why it shows nothing; every camera by its name; the automatic functions of the
/// camera shown.  Main thread.
class CameraMenu final : public QObject, public MenuSection {
    Q_OBJECT

public:
    using Status = std::function<PictureStatus()>;

    /// All must outlive this object.
    /// @param status of the preview; cheap
    CameraMenu(ViewController& panel, const Bundle& bundle, Status status);

    QList<QAction*> entries() override;
    void retranslate() override;

    /// Call when the status has changed; an open menu shows it at once.
    void showStatus();

private:
    QList<QAction*> cameraEntries();
    QList<QAction*> automaticEntries();
    QAction* separator();
    QAction* made(const QString& text, bool checked);

    ViewController& panel_;
    const Bundle& bundle_;
    const Status status_;
    QAction statusLine_;
    std::unique_ptr<QActionGroup> cameras_;
    std::vector<std::unique_ptr<QAction>> made_; // for the menu that was opened last
};

} // namespace tavelo
