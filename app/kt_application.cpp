// SPDX-License-Identifier: MIT
#include "app/kt_application.h"

#include "app/about_panel.h"
#include "widgets/panel_look.h"

namespace tavelo {

KTApplication::KTApplication(int& argc, char** argv) : QApplication(argc, argv) {
    setApplicationName(QStringLiteral("tavelo-control-panel"));
    setApplicationDisplayName(QStringLiteral("Tavelo Control Panel"));
    setApplicationVersion(QStringLiteral(TAVELO_RELEASE));
    setDesktopFileName(QStringLiteral("org.tavelo.ControlPanel"));
    setLayoutDirection(Qt::LeftToRight); // as all its languages are written, whatever the desktop's is
    applyToolTipLook();
}

void KTApplication::orderFrontStandardAboutPanelWithOptions(const QVariantMap& /*options*/,
                                                            const Bundle& bundle) {
    showAboutPanel(activeWindow(), credits(bundle), bundle);
}

QString KTApplication::credits(const Bundle& bundle) {
    const std::string heading = bundle.localizedString("Third_party_open_source_software_used", {});
    return QStringLiteral("%1\n%2").arg(QString::fromStdString(heading), QStringLiteral("VVUVCKit"));
}

} // namespace tavelo
