// SPDX-License-Identifier: MIT
#include "app/window_features.h"

#include "app/show_file.h"
#include "video/kt_display_view.h"

namespace tavelo {

WindowFeatures::WindowFeatures(const Parts& parts)
    : picture_(parts.panel),
      tip_(parts.panel.displayView(), parts.bundle, parts.diagnostics),
      title_(parts.window, clock_),
      fullScreen_(parts.window, *parts.panel.view()),
      hands_(parts.panel, parts.window),
      tips_(parts.panel, parts.bundle),
      camera_(parts.panel, parts.bundle, [this] { return picture_.status(); }),
      capture_(parts.window, parts.host, clock_, parts.bundle, parts.folders),
      share_(parts.host, parts.bundle),
      windowMenu_(parts.window, fullScreen_, parts.bundle),
      hidden_({parts.window, parts.panel, parts.host, picture_, clock_, parts.bundle}) {
    for (MenuSection* section :
         std::initializer_list<MenuSection*>{&camera_, &capture_, &share_, &windowMenu_})
        parts.menu.addSection(*section);
    followPicture(parts);
    followRecording(parts.host);
    followSharing(parts);
    connect(&capture_, &CaptureMenu::showFileChosen, this,
            [](const QString& file) { showFileInFolder(file); });
    connect(&hidden_, &HiddenWindow::showChosen, this, &WindowFeatures::showChosen);
    connect(&hidden_, &HiddenWindow::quitChosen, this, &WindowFeatures::quitChosen);
}

void WindowFeatures::followPicture(const Parts& parts) {
    const auto show = [this] {
        const PictureStatus& status = picture_.status();
        camera_.showStatus();
        capture_.setPictureShown(status.kind == PictureStatus::Kind::shown);
        tip_.show(status);
    };
    connect(&picture_, &PictureWatch::changed, this, show);
    connect(&parts.menu, &PanelMenu::aboutToOpen, &picture_, &PictureWatch::refresh);
    connect(&parts.menu, &PanelMenu::languageChanged, this, [this, show] {
        tips_.retranslate();
        show();
    });
    show();
}

void WindowFeatures::followSharing(const Parts& parts) {
    const auto show = [this, &host = parts.host, &bundle = parts.bundle] {
        title_.setShared(host.isSharing() ? sharingText(bundle) : QString());
    };
    connect(&parts.host, &WindowHost::sharingChanged, this, show);
    connect(&parts.menu, &PanelMenu::languageChanged, this, show);
    show();
}

void WindowFeatures::followRecording(WindowHost& host) {
    connect(&host, &WindowHost::recordingFileChanged, this,
            [this, &host] { host.recordingFile().empty() ? clock_.stop() : clock_.start(); });
}

} // namespace tavelo
