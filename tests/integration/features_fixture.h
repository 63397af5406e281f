// SPDX-License-Identifier: MIT
// The panel with its context menu, in English, and folders of its own for stills and movies.
#pragma once

#include <QMenu>
#include <QTemporaryDir>

#include "app/panel_menu.h"
#include "app/program_language.h"
#include "app/window_features.h"
#include "app/window_host.h"
#include "integration/panel_fixture.h"
#include "platform/linux/movie/ffmpeg_asset_writer_platform.h"
#include "support/fake_picture_share.h"
#include "support/fake_sounds.h"
#include "support/recorded_diagnostics.h"

namespace tavelo {

class FeaturesTest : public PanelTest {
protected:
    ~FeaturesTest() override { end(); }

    /// Call it in the destructor of a test with a platform of its own.
    void end() {
        QThreadPool::globalInstance()->waitForDone();
        features_.reset();
        host_.reset();
        panel_.reset();
    }

    void startWithFeatures(int cameras) {
        bundle_.preferLanguage("en");
        window_.setWindowTitle(QStringLiteral("Panel"));
        start(cameras);
        host_.emplace(
            writers_, [] { return std::optional<ServiceError>(); }, shares_, sounds_);
        host_->setPanel(panel());
        menu_.emplace(window_, bundle_, language_);
        features_.emplace(WindowFeatures::Parts{
            window_, panel(), *host_, *menu_, bundle_, diagnostics_, {path("Pictures"), path("Videos")}});
    }

    QString path(const char* name) const { return folder_.filePath(QLatin1String(name)); }

    /// Opens the menu anew, with a real press.
    QMenu* openMenu() {
        if (QWidget* open = QApplication::activePopupWidget()) open->close();
        QTest::mouseClick(window_.windowHandle(), Qt::RightButton, {}, QPoint(20, 20));
        return qobject_cast<QMenu*>(QApplication::activePopupWidget());
    }

    /// The texts of the menu's entries, without separators.
    QStringList entries() {
        QStringList texts;
        for (const QAction* action : openMenu()->actions())
            if (!action->isSeparator()) texts << action->text();
        return texts;
    }

    /// Null if the menu has no such entry.
    QAction* entry(const char* text) {
        for (QAction* action : openMenu()->actions())
            if (action->text() == QLatin1String(text)) return action;
        return nullptr;
    }

    /// Clicks an entry of the open menu with the mouse.
    void choose(const char* text) {
        QAction* const action = entry(text);
        ASSERT_NE(action, nullptr) << text;
        QMenu* const menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(action).center());
    }

    std::string firstLine() { return entries().value(0).toStdString(); }
    ::testing::AssertionResult firstLineBecomes(const std::string& text) {
        if (waitFor([&] { return firstLine() == text; })) return ::testing::AssertionSuccess();
        return ::testing::AssertionFailure() << "it is: " << firstLine();
    }

    bool pictureIsShown() {
        return waitFor([this] { return firstLine().find(" × ") != std::string::npos; });
    }

    QTemporaryDir folder_;
    testing::RecordedDiagnostics diagnostics_;
    std::shared_ptr<AssetWriterPlatform> writers_ = makeFfmpegAssetWriterPlatform(diagnostics_);
    std::shared_ptr<testing::FakePictureSharePlatform> shares_ =
        std::make_shared<testing::FakePictureSharePlatform>();
    std::shared_ptr<testing::FakeSounds> sounds_ = [] {
        auto sounds = std::make_shared<testing::FakeSounds>();
        sounds->available = false;
        return sounds;
    }();
    ProgramLanguage language_{bundle_, store_};
    std::optional<WindowHost> host_;
    std::optional<PanelMenu> menu_;
    std::optional<WindowFeatures> features_;
};

} // namespace tavelo
