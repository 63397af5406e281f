// SPDX-License-Identifier: MIT
#include "app/panel_window.h"

#include <utility>

#include "video/kt_display_view.h"

namespace tavelo {

PanelWindow::Contents::Contents(KTWindow& window, KTWindowController& controller, ViewController& panel) {
    window.setWindowTitle(KTApplication::applicationDisplayName()); // for task bars and screen readers
    QObject::connect(&panel, &ViewController::closeRequested, &controller, &KTWindowController::close);
    QObject::connect(&panel, &ViewController::miniaturizeRequested, &controller,
                     &KTWindowController::miniaturize);
    panel.viewDidLoad();
    panel.putInto(window);
}

PanelWindow::PanelWindow(const PanelWindowParts& parts)
    : window_(QRect(QPoint(), panelSize.toSize()), WindowStyle::borderless, true, true),
      panel_(parts.panel),
      contents_(window_, windowController_, panel_),
      screenFit_(window_, *panel_.view()),
      menu_(window_, parts.panel.bundle, parts.language),
      features_({window_, panel_, parts.host, menu_, parts.panel.bundle, parts.diagnostics}),
      allControls_(panel_, parts.panel.bundle, parts.catalog, window_) {
    windowController_.windowDidLoad();
    if (KTDisplayView* display = panel_.displayView()) {
        display->mtkView()->setAssetWriteManager(std::make_shared<KTAssetWriterManager>(
            parts.assetWriters, KTAssetWriterManager::madeOfCameraFrames()));
        display->mtkView()->setDiagnostics(parts.diagnostics);
    }
    delegate_.applicationDidFinishLaunching();

    KTApplication& application = parts.application;
    const Bundle& bundle = parts.panel.bundle;
    QObject::connect(&menu_, &PanelMenu::aboutChosen, &application, [&application, &bundle] {
        application.orderFrontStandardAboutPanelWithOptions({}, bundle);
    });
    QObject::connect(&menu_, &PanelMenu::reconnectChosen, &panel_, &ViewController::reconnectCamera);
    QObject::connect(&menu_, &PanelMenu::allControlsChosen, &allControls_, &AllControls::show);
    QObject::connect(&menu_, &PanelMenu::languageChanged, &panel_, &ViewController::languageDidChange);
    QObject::connect(&menu_, &PanelMenu::languageChanged, &allControls_, &AllControls::languageDidChange);
    QObject::connect(&menu_, &PanelMenu::quitChosen, &application, &KTApplication::quit);
    QObject::connect(&features_, &WindowFeatures::quitChosen, &application, &KTApplication::quit);
    QObject::connect(&features_, &WindowFeatures::showChosen, &panel_, [this] { show(); });
}

PanelWindow::~PanelWindow() {
    delegate_.applicationWillTerminate();
}

void PanelWindow::show() {
    delegate_.applicationShouldHandleReopenHasVisibleWindows(window_.isVisible());
}

} // namespace tavelo
