// SPDX-License-Identifier: MIT
#include "app/share_menu.h"

#include "widgets/localized_text.h"

namespace tavelo {

ShareMenu::ShareMenu(WindowHost& host, const Bundle& bundle) : host_(host), bundle_(bundle) {
    share_.setCheckable(true);
    failure_.setEnabled(false);
    connect(&share_, &QAction::triggered, &host, &WindowHost::setSharing);
    const auto show = [this] { share_.setChecked(host_.isSharing()); };
    connect(&host, &WindowHost::sharingChanged, this, show);
    show();
    retranslate();
}

QList<QAction*> ShareMenu::entries() {
    QList<QAction*> entries{&share_};
    if (host_.sharingFails()) entries << &failure_;
    return entries;
}

void ShareMenu::retranslate() {
    share_.setText(localizedText(bundle_, "Share_picture"));
    failure_.setText(localizedText(bundle_, "Not_shared"));
}

QString sharingText(const Bundle& bundle) {
    return localizedText(bundle, "Picture_is_shared");
}

} // namespace tavelo
