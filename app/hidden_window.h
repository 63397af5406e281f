// SPDX-License-Identifier: MIT
// What the program shows while its window is closed.
#pragma once

#include <QObject>
#include <QWidget>
#include <memory>

#include "app/desktop_tray.h"
#include "app/picture_watch.h"
#include "app/recording_clock.h"
#include "app/still_running_notice.h"
#include "app/tray_entry.h"
#include "app/window_host.h"
#include "panel/view_controller.h"
#include "platform/bundle.h"

namespace tavelo {

/// A closed window leaves the camera on.  An entry in the desktop's tray says so, or one notification if
/// there is no tray; both offer to show the window, to release the camera, and to quit.  Showing the window
/// takes a released camera again.  A minimised window is not a closed one.  Main thread.
class HiddenWindow final : public QObject {
    Q_OBJECT

public:
    /// All must outlive this object.
    struct Parts {
        QWidget& window;
        ViewController& panel;
        WindowHost& host;
        const PictureWatch& picture;
        const RecordingClock& clock;
        const Bundle& bundle;
    };

    explicit HiddenWindow(const Parts& parts);

Q_SIGNALS:
    void showChosen();
    void quitChosen();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void windowWasShown();
    void tell(bool hasTray);
    void refresh();
    void releaseCamera();
    QString line() const;

    const Parts parts_;
    DesktopTray tray_;
    StillRunningNotice notice_;
    std::unique_ptr<TrayEntry> entry_; // null until a tray is found
    bool entryIsShown_ = false;
};

} // namespace tavelo
