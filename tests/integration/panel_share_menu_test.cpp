// SPDX-License-Identifier: MIT
// Sharing the picture from the context menu and by the service's property.
#include <QSignalSpy>

#include "integration/features_fixture.h"
#include "video/kt_display_view.h"

namespace tavelo {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class PanelShareMenu : public FeaturesTest {
protected:
    std::shared_ptr<testing::FakePictureShare> share() const { return shares_->last.lock(); }
    bool isChecked() { return entry("Share Picture")->isChecked(); }
    QString title() const { return window_.windowTitle(); }
};

TEST_F(PanelShareMenu, TheEntrySharesAndEndsItAndTheWindowSaysSo) {
    startWithFeatures(1);
    ASSERT_TRUE(pictureIsShown());
    EXPECT_FALSE(isChecked()) << "nobody asked for it";
    EXPECT_EQ(share(), nullptr);
    choose("Share Picture");
    ASSERT_NE(share(), nullptr);
    EXPECT_TRUE(isChecked());
    EXPECT_EQ(title(), QStringLiteral("Picture is shared – Panel"));
    EXPECT_THAT(share()->names(), ElementsAre("Tavelo Virtual Camera 1"));
    choose("Share Picture");
    EXPECT_EQ(share(), nullptr) << "other programs still see it";
    EXPECT_FALSE(isChecked());
    EXPECT_EQ(title(), QStringLiteral("Panel"));
}

TEST_F(PanelShareMenu, ProgramsThatLookGetThePictureAsItIsShown) {
    startWithFeatures(1);
    ASSERT_TRUE(pictureIsShown());
    host_->setSharing(true);
    const auto shared = share();
    ASSERT_TRUE(waitFor([&] { return !shared->sizes().empty(); }));
    EXPECT_EQ(shared->sizes().front(), (std::pair<std::size_t, std::size_t>(1280, 720)));
    EXPECT_THAT(shared->take(), IsEmpty());
    shared->wants = SharedPicture::whole;
    ASSERT_TRUE(waitFor([&] { return !shared->take().empty(); }));
    shared->wants = SharedPicture::none;
}

TEST_F(PanelShareMenu, GoesOnWhileTheWindowIsClosed) {
    startWithFeatures(1);
    ASSERT_TRUE(pictureIsShown());
    QApplication::activePopupWidget()->close();
    host_->setSharing(true);
    const auto shared = share();
    shared->wants = SharedPicture::cameraFrame;
    window_.hide();
    shared->take();
    std::size_t pictures = 0;
    EXPECT_TRUE(waitFor([&] { return (pictures += shared->take().size()) > 5; }));
    EXPECT_TRUE(host_->isSharing());
}

TEST_F(PanelShareMenu, FollowsTheShownCamerasNameAndKeepsThatOfAnUnpluggedOne) {
    startWithFeatures(2);
    ASSERT_TRUE(pictureIsShown());
    host_->setSharing(true);
    panel().switchCameraWithIndex(1);
    EXPECT_THAT(share()->names(), ElementsAre("Tavelo Virtual Camera 1", "Tavelo Virtual Camera 2"));
    backend_.bus->unplug(1);
    backend_.bus->unplug(2);
    ASSERT_TRUE(waitFor([this] { return panel().shownCamera() == nullptr; }));
    EXPECT_THAT(share()->names(), Not(Contains("")));
    EXPECT_TRUE(host_->isSharing());
}

TEST_F(PanelShareMenu, ChangesOfTheServiceShowInTheMenu) {
    startWithFeatures(1);
    QSignalSpy changed(&*host_, &WindowHost::sharingChanged);
    host_->setSharing(true);
    EXPECT_TRUE(isChecked());
    EXPECT_EQ(changed.size(), 1);
    host_->setSharing(true);
    EXPECT_EQ(changed.size(), 1) << "it is on already";
    host_->setSharing(false);
    EXPECT_FALSE(isChecked());
    EXPECT_EQ(changed.size(), 2);
}

TEST_F(PanelShareMenu, AMachineThatCannotShareSaysSoOnceAndInTheMenu) {
    startWithFeatures(1);
    ASSERT_TRUE(pictureIsShown());
    shares_->fails = true;
    ::testing::internal::CaptureStderr();
    choose("Share Picture");
    EXPECT_THAT(::testing::internal::GetCapturedStderr(),
                HasSubstr("the picture is not shared: no way to share"));
    EXPECT_FALSE(isChecked());
    EXPECT_EQ(title(), QStringLiteral("Panel"));
    const QAction* const reason = entry("Not shared: PipeWire is not available");
    ASSERT_NE(reason, nullptr);
    EXPECT_FALSE(reason->isEnabled());
    shares_->fails = false;
    choose("Share Picture");
    EXPECT_TRUE(isChecked());
    EXPECT_EQ(entry("Not shared: PipeWire is not available"), nullptr);
}

TEST_F(PanelShareMenu, ADaemonThatWentAwayIsSaidWhileSharingGoesOn) {
    startWithFeatures(1);
    host_->setSharing(true);
    share()->troubled = true;
    EXPECT_NE(entry("Not shared: PipeWire is not available"), nullptr);
    EXPECT_TRUE(isChecked());
    share()->troubled = false;
    EXPECT_EQ(entry("Not shared: PipeWire is not available"), nullptr);
}

TEST_F(PanelShareMenu, FollowsTheLanguage) {
    startWithFeatures(1);
    host_->setSharing(true);
    for (const QAction* opener : openMenu()->actions())
        for (QAction* choice : opener->menu() != nullptr ? opener->menu()->actions() : QList<QAction*>())
            if (choice->text() == QStringLiteral("Deutsch")) choice->trigger();
    EXPECT_NE(entry("Bild teilen"), nullptr);
    EXPECT_EQ(title(), QStringLiteral("Bild wird geteilt – Panel"));
}

TEST_F(PanelShareMenu, TheEndOfThePanelEndsIt) {
    startWithFeatures(1);
    host_->setSharing(true);
    ASSERT_NE(share(), nullptr);
    end();
    EXPECT_EQ(share(), nullptr);
}

} // namespace
} // namespace tavelo
