// SPDX-License-Identifier: MIT
#include "app/picture_sharing.h"

#include <gmock/gmock.h>

#include <QSignalSpy>
#include <optional>

#include "fake_backend.h"
#include "support/fake_picture_share.h"

namespace tavelo {
namespace {

using ::testing::ElementsAre;

class PictureSharingTest : public ::testing::Test {
protected:
    /// What a share takes that wants whole pictures; nothing if the view has no share.
    SharedPicture taken() {
        if (const auto share = platform_->last.lock()) share->wants = SharedPicture::whole;
        return view_.shareSlot().wanted();
    }

    testing::BackendLog log_;
    KTMTKView view_{QRect(), testing::fakeBackend(log_)};
    const std::shared_ptr<testing::FakePictureSharePlatform> platform_ =
        std::make_shared<testing::FakePictureSharePlatform>();
    std::optional<PictureSharing> sharing_{platform_};
};

TEST_F(PictureSharingTest, TheViewsPictureIsSharedWhileItIsOn) {
    sharing_->setView(view_);
    EXPECT_FALSE(sharing_->isOn());
    EXPECT_EQ(taken(), SharedPicture::none);
    QSignalSpy changes(&*sharing_, &PictureSharing::changed);
    sharing_->setOn(true);
    sharing_->setOn(true);
    EXPECT_EQ(changes.size(), 1);
    EXPECT_EQ(taken(), SharedPicture::whole);
    sharing_->setOn(false);
    EXPECT_EQ(changes.size(), 2);
    EXPECT_EQ(taken(), SharedPicture::none);
    EXPECT_TRUE(platform_->last.expired());
}

TEST_F(PictureSharingTest, AViewThatComesLaterIsSharedToo) {
    sharing_->setOn(true);
    sharing_->setView(view_);
    EXPECT_EQ(taken(), SharedPicture::whole);
}

TEST_F(PictureSharingTest, OtherProgramsLoseTheCameraWithIt) {
    sharing_->setView(view_);
    sharing_->setOn(true);
    EXPECT_EQ(taken(), SharedPicture::whole);
    sharing_.reset();
    EXPECT_EQ(taken(), SharedPicture::none);
    EXPECT_TRUE(platform_->last.expired());
}

TEST_F(PictureSharingTest, TheShareHasTheNameOfTheShownCamera) {
    sharing_->setCameraName("one");
    sharing_->setOn(true);
    const auto share = platform_->last.lock();
    ASSERT_TRUE(share);
    sharing_->setCameraName("one");
    sharing_->setCameraName("two");
    EXPECT_THAT(share->names(), ElementsAre("one", "two"));
}

TEST_F(PictureSharingTest, AMachineThatCannotShareSaysSoAndStaysOff) {
    platform_->fails = true;
    QSignalSpy changes(&*sharing_, &PictureSharing::changed);
    ::testing::internal::CaptureStderr();
    sharing_->setOn(true);
    EXPECT_THAT(::testing::internal::GetCapturedStderr(),
                ::testing::EndsWith("the picture is not shared: no way to share\n"));
    EXPECT_FALSE(sharing_->isOn());
    EXPECT_TRUE(sharing_->fails());
    EXPECT_EQ(changes.size(), 1);
    platform_->fails = false;
    sharing_->setOn(true);
    EXPECT_FALSE(sharing_->fails());
}

TEST_F(PictureSharingTest, AShareThatNoProgramCanSeeFails) {
    sharing_->setOn(true);
    EXPECT_FALSE(sharing_->fails());
    platform_->last.lock()->troubled = true;
    EXPECT_TRUE(sharing_->fails());
}

TEST(PictureSharing, WithoutAPlatformItStaysOff) {
    PictureSharing sharing(nullptr);
    sharing.setOn(true);
    EXPECT_FALSE(sharing.isOn());
    EXPECT_TRUE(sharing.fails());
}

} // namespace
} // namespace tavelo
