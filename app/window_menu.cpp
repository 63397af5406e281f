// SPDX-License-Identifier: MIT
#include "app/window_menu.h"

#include <QGuiApplication>

#include "app/menu_key.h"
#include "widgets/localized_text.h"

namespace tavelo {

WindowMenu::WindowMenu(KTWindow& window, FullScreenPicture& picture, const Bundle& bundle)
    : window_(window),
      bundle_(bundle) {
    onTop_.setCheckable(true);
    connect(&onTop_, &QAction::triggered, this, [this](bool on) { window_.setStaysOnTop(on); });
    fullScreen_.setCheckable(true);
    setMenuKey(fullScreen_, Qt::Key_F11, window);
    connect(&fullScreen_, &QAction::triggered, &picture, [&picture](bool on) { picture.setOn(on); });
    connect(&picture, &FullScreenPicture::changed, this,
            [this, &picture] { fullScreen_.setChecked(picture.isOn()); });
    retranslate();
}

QList<QAction*> WindowMenu::entries() {
    // Wayland has no request for it.
    if (QGuiApplication::platformName().startsWith(QStringLiteral("wayland"))) return {&fullScreen_};
    return {&onTop_, &fullScreen_};
}

void WindowMenu::retranslate() {
    onTop_.setText(localizedText(bundle_, "Always_on_top"));
    fullScreen_.setText(localizedText(bundle_, "Full_screen"));
}

} // namespace tavelo
