// SPDX-License-Identifier: MIT
#include "platform/linux/pipewire/usb_place.h"

#include <gmock/gmock.h>

#include "support/temporary_folder.h"

namespace tavelo::testing {
namespace {

namespace fs = std::filesystem;
using Properties = std::map<std::string, std::string, std::less<>>;

TEST(UsbPlace, IsTheInnermostDeviceOfAPath) {
    EXPECT_EQ(usbPlaceOf("/devices/pci0000:00/0000:00:14.0/usb1/1-4/1-4:1.0/sound/card1"), "1-4");
    EXPECT_EQ(usbPlaceOf("/devices/pci0000:00/0000:00:14.0/usb1/1-4/1-4.2/1-4.2:1.2/sound/card1"), "1-4.2");
    EXPECT_EQ(usbPlaceOf("/devices/platform/vhci_hcd.0/usb12/12-1/12-1.10.3"), "12-1.10.3");
}

TEST(UsbPlace, OtherPathsHaveNone) {
    for (const char* const path :
         {"", "/", "/devices/pci0000:00/0000:00:1f.3/sound/card0", "/devices/usb1", "/a/1-", "/a/-1",
          "/a/1-a", "/a/x-1", "/a/123", "/devices/platform/snd-aloop.0/sound/card1", "/a/1-.2"})
        EXPECT_EQ(usbPlaceOf(path), "") << path;
}

class UsbPlaceOfCard : public ::testing::Test {
protected:
    UsbPlaceOfCard() {
        fs::create_directories(folder_.path() / "devices/usb1/1-7/1-7:1.1/sound/card3");
        fs::create_directories(folder_.path() / "devices/pci/sound/card0");
        fs::create_directories(folder_.path() / "class/sound");
        fs::create_symlink("../../devices/usb1/1-7/1-7:1.1/sound/card3",
                           folder_.path() / "class/sound/card3");
        fs::create_symlink("../../devices/pci/sound/card0", folder_.path() / "class/sound/card0");
    }
    std::string place(const Properties& properties) const { return usbPlaceOf(properties, folder_.path()); }

    TemporaryFolder folder_;
};

TEST_F(UsbPlaceOfCard, ComesFromThePathThatPipewireTells) {
    EXPECT_EQ(place({{"device.sysfs.path", "/devices/usb1/1-2/1-2:1.0/sound/card3"}, {"api.alsa.card", "3"}}),
              "1-2");
}

TEST_F(UsbPlaceOfCard, OrFromTheCardsNumber) {
    for (const char* const name : {"api.alsa.card", "api.alsa.pcm.card", "alsa.card"})
        EXPECT_EQ(place({{name, "3"}}), "1-7") << name;
    EXPECT_EQ(place({{"device.sysfs.path", "/devices/virtual"}, {"api.alsa.card", "3"}}), "1-7");
}

TEST_F(UsbPlaceOfCard, IsEmptyForOtherCards) {
    EXPECT_EQ(place({}), "");
    EXPECT_EQ(place({{"api.alsa.card", "0"}}), "");
    EXPECT_EQ(place({{"api.alsa.card", "9"}}), "");
    EXPECT_EQ(place({{"api.alsa.card", ""}}), "");
    EXPECT_EQ(place({{"api.alsa.card", "3/.."}}), "");
    EXPECT_EQ(place({{"device.sysfs.path", "/devices/pci/sound/card0"}}), "");
}

} // namespace
} // namespace tavelo::testing
