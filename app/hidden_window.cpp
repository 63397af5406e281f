// SPDX-License-Identifier: MIT
#include "app/hidden_window.h"

#include <QEvent>
#include <QTimer>

#include "app/recording_title.h"
#include "app/share_menu.h"
#include "widgets/localized_text.h"

namespace tavelo {

HiddenWindow::HiddenWindow(const Parts& parts) : parts_(parts), notice_(parts.bundle) {
    parts.window.installEventFilter(this);
    connect(&tray_, &DesktopTray::answered, this, &HiddenWindow::tell);
    connect(&parts.picture, &PictureWatch::changed, this, &HiddenWindow::refresh);
    connect(&parts.clock, &RecordingClock::changed, this, &HiddenWindow::refresh);
    connect(&parts.host, &WindowHost::sharingChanged, this, &HiddenWindow::refresh);
    connect(&notice_, &StillRunningNotice::showChosen, this, &HiddenWindow::showChosen);
    connect(&notice_, &StillRunningNotice::releaseChosen, this, &HiddenWindow::releaseCamera);
    connect(&notice_, &StillRunningNotice::quitChosen, this, &HiddenWindow::quitChosen);
}

bool HiddenWindow::eventFilter(QObject* watched, QEvent* event) {
    if (watched == &parts_.window && !event->spontaneous()) {
        if (event->type() == QEvent::Hide) tray_.look();
        // Later: reading a slow camera takes seconds, and the window is to appear at once.
        if (event->type() == QEvent::Show) QTimer::singleShot(0, this, &HiddenWindow::windowWasShown);
    }
    return QObject::eventFilter(watched, event);
}

void HiddenWindow::windowWasShown() {
    if (!parts_.window.isVisible()) return;
    entryIsShown_ = false;
    if (entry_) entry_->hide();
    notice_.takeBack();
    parts_.panel.takeCamera();
}

void HiddenWindow::tell(bool hasTray) {
    if (parts_.window.isVisible()) return;
    if (!hasTray) return notice_.say(line(), parts_.panel.shownCamera() != nullptr);
    if (!entry_) {
        entry_ = std::make_unique<TrayEntry>(parts_.bundle);
        // Queued: the entry must not go away while it handles the click.
        connect(entry_.get(), &TrayEntry::showChosen, this, &HiddenWindow::showChosen, Qt::QueuedConnection);
        connect(entry_.get(), &TrayEntry::releaseChosen, this, &HiddenWindow::releaseCamera);
        connect(entry_.get(), &TrayEntry::quitChosen, this, &HiddenWindow::quitChosen, Qt::QueuedConnection);
    }
    entryIsShown_ = true;
    refresh();
}

void HiddenWindow::refresh() {
    if (!entryIsShown_) return;
    const IconMark mark = parts_.clock.isRunning()  ? IconMark::recorded
                          : parts_.host.isSharing() ? IconMark::shared
                                                    : IconMark::none;
    entry_->show({line(), mark, parts_.panel.shownCamera() != nullptr});
}

// A movie ends whole, as if the user had stopped it.
void HiddenWindow::releaseCamera() {
    if (parts_.window.isVisible()) return;
    parts_.host.stopRecording();
    parts_.panel.releaseCamera();
}

QString HiddenWindow::line() const {
    const PictureStatus& status = parts_.picture.status();
    QString line = statusText(status, parts_.bundle);
    if (status.kind == PictureStatus::Kind::shown || status.kind == PictureStatus::Kind::waiting)
        line = localizedText(parts_.bundle, "Camera_is_on").arg(QString::fromStdString(status.camera));
    if (parts_.host.isSharing()) line = QStringLiteral("%1 – %2").arg(sharingText(parts_.bundle), line);
    return parts_.clock.isRunning() ? recordingText(parts_.clock, line) : line;
}

} // namespace tavelo
