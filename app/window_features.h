// SPDX-License-Identifier: MIT
// What the window offers beside the panel's face.
#pragma once

#include "app/camera_menu.h"
#include "app/capture_menu.h"
#include "app/full_screen_picture.h"
#include "app/hidden_window.h"
#include "app/panel_menu.h"
#include "app/picture_watch.h"
#include "app/preview_tip.h"
#include "app/recording_clock.h"
#include "app/recording_title.h"
#include "app/share_menu.h"
#include "app/window_menu.h"
#include "panel/panel_hands.h"
#include "panel/panel_tips.h"
#include "platform/diagnostics.h"

namespace tavelo {

/// Puts its sections into the menu.  Main thread.
class WindowFeatures final : public QObject {
    Q_OBJECT

public:
    /// All must outlive this object.
    struct Parts {
        KTWindow& window;
        ViewController& panel;
        WindowHost& host;
        PanelMenu& menu;
        const Bundle& bundle;
        Diagnostics& diagnostics;
        CaptureMenu::Folders folders = CaptureMenu::userFolders();
    };

    explicit WindowFeatures(const Parts& parts);

Q_SIGNALS:
    /// Chosen while the window is closed.
    void showChosen();
    void quitChosen();

private:
    void followPicture(const Parts& parts);
    void followRecording(WindowHost& host);
    void followSharing(const Parts& parts);

    PictureWatch picture_;
    PreviewTip tip_;
    RecordingClock clock_;
    RecordingTitle title_;
    FullScreenPicture fullScreen_;
    PanelHands hands_;
    PanelTips tips_;
    CameraMenu camera_;
    CaptureMenu capture_;
    ShareMenu share_;
    WindowMenu windowMenu_;
    HiddenWindow hidden_;
};

} // namespace tavelo
