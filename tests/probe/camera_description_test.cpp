// SPDX-License-Identifier: MIT
#include "probe/camera_description.h"

#include <gmock/gmock.h>

#include "descriptor_builder.h"
#include "platform/uvc/guid.h"

namespace tavelo {
namespace {

using test::Bytes;
using test::descriptor;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

CameraDescription described(std::initializer_list<Bytes> parts) {
    return describeCamera({test::deviceDescriptor(0x1234, 0x5678),
                           test::configuration(std::initializer_list<Bytes>{
                               test::videoControl(0), test::header(0x0150), test::join(parts)})},
                          0);
}

TEST(CameraDescription, ReadsTheIdentity) {
    const CameraDescription camera = described({});
    EXPECT_EQ(camera.vendorID, 0x1234);
    EXPECT_EQ(camera.productID, 0x5678);
    EXPECT_EQ(camera.usbVersion, 0x0200);
    EXPECT_EQ(camera.release, 0x0100);
    EXPECT_EQ(camera.classVersion, 0x0150);
}

TEST(CameraDescription, ReadsEveryKindOfEntity) {
    Bytes guid;
    for (std::uint8_t i = 0; i < 16; ++i)
        guid.push_back(i);
    const CameraDescription camera =
        described({test::cameraTerminal(1, {0x02, 0, 0}), test::otherTerminal(2),
                   test::selectorUnit(3, {1, 2}), test::processingUnit(4, 3, {0x01, 0x00}),
                   descriptor(test::join({{0x24, 0x06, 5}, guid, {2, 2, 4, 3, 2, 0x81, 0x01, 0}})),
                   descriptor({0x24, 0x07, 6, 5, 0, 1, 0xFF, 0xFF}),
                   descriptor({0x24, 0x03, 7, 1, 1, 0, 6, 0}), descriptor({0x24, 0x0F, 8})});
    ASSERT_EQ(camera.entities.size(), 8U);
    EXPECT_EQ(camera.entities[0].kind(), "camera terminal");
    EXPECT_THAT(camera.entities[0].selectors, ElementsAre(2));
    EXPECT_EQ(camera.entities[1].kind(), "input terminal");
    EXPECT_EQ(camera.entities[1].terminalType, 0x0401);
    EXPECT_THAT(camera.entities[2].sources, ElementsAre(1, 2));
    EXPECT_THAT(camera.entities[3].sources, ElementsAre(3));
    EXPECT_THAT(camera.entities[3].selectors, ElementsAre(2));
    EXPECT_EQ(camera.entities[4].kind(), "extension unit");
    EXPECT_EQ(guidText(camera.entities[4].guid), "03020100-0504-0706-0809-0a0b0c0d0e0f");
    EXPECT_THAT(camera.entities[4].sources, ElementsAre(4, 3));
    EXPECT_THAT(camera.entities[4].selectors, ElementsAre(1, 8, 9));
    EXPECT_EQ(camera.entities[5].kind(), "encoding unit");
    EXPECT_THAT(camera.entities[5].selectors, IsEmpty());
    EXPECT_THAT(camera.entities[6].sources, ElementsAre(6));
    EXPECT_EQ(camera.entities[7].kind(), "entity of unknown kind 15");
}

TEST(CameraDescription, AUnitThatIsCutOffHasNoSources) {
    const Bytes guid(16, 0x42);
    const CameraDescription camera = described({descriptor({0x24, 0x05, 1}), descriptor({0x24, 0x07, 2}),
                                                descriptor(test::join({{0x24, 0x06, 3}, guid, {0, 0}})),
                                                descriptor(test::join({{0x24, 0x06, 4}, guid, {0}}))});
    ASSERT_EQ(camera.entities.size(), 4U);
    for (const DescribedEntity& entity : camera.entities)
        EXPECT_THAT(entity.sources, IsEmpty()) << int(entity.id);
    EXPECT_EQ(camera.entities[2].guid[0], 0x42) << "the shortest one that is whole";
    EXPECT_EQ(camera.entities[3].guid[0], 0);
}

TEST(CameraDescription, NamesBitsThatTheClassDoesNotAssign) {
    const CameraDescription camera = described(
        {test::cameraTerminal(1, {0x00, 0x80, 0xC1}), test::processingUnit(2, 1, {0x00, 0x00, 0x04, 0, 1})});
    EXPECT_THAT(camera.entities[0].unknownBits, ElementsAre(15, 16, 22, 23));
    EXPECT_THAT(camera.entities[0].selectors, IsEmpty());
    EXPECT_THAT(camera.entities[1].selectors, ElementsAre(19));
    EXPECT_THAT(camera.entities[1].unknownBits, ElementsAre(32));
}

TEST(CameraDescription, LeavesOutTheInterfaceItselfAndRepeatedIdentifiers) {
    const CameraDescription camera =
        described({test::cameraTerminal(0, {0x02}), test::processingUnit(2, 1, {0x01}),
                   test::processingUnit(2, 1, {0x02})});
    ASSERT_EQ(camera.entities.size(), 1U);
    EXPECT_THAT(camera.entities[0].selectors, ElementsAre(2));
}

TEST(CameraDescription, AnExtensionUnitHasNoSelectorBeyondAByte) {
    const CameraDescription camera = described(
        {descriptor(test::join({{0x24, 0x06, 5}, Bytes(16, 1), {255, 0, 33}, Bytes(33, 0xFF), {0}}))});
    ASSERT_EQ(camera.entities.size(), 1U);
    EXPECT_EQ(camera.entities[0].selectors.size(), 255U);
    EXPECT_EQ(camera.entities[0].selectors.back(), 255);
}

TEST(CameraDescription, AnyCutIsHarmless) {
    const Bytes whole = test::configuration(
        {test::videoControl(0), test::header(0x0110), test::cameraTerminal(1, {0xFF, 0xFF, 0xFF}),
         test::processingUnit(2, 1, {0xFF, 0xFF}), test::extensionUnit(3, 2), test::selectorUnit(4, {1, 2})});
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
        EXPECT_LE(describeCamera({{}, cut}, 0).entities.size(), 4U);
    }
    EXPECT_EQ(describeCamera({{}, whole}, 0).entities.size(), 4U);
}

// Every length byte in turn takes every value.
TEST(CameraDescription, AnyLengthIsHarmless) {
    const Bytes whole = test::configuration(
        {test::videoControl(0), test::header(0x0110), test::cameraTerminal(1, {0xFF, 0xFF, 0xFF}),
         test::processingUnit(2, 1, {0xFF, 0xFF}), test::extensionUnit(3, 2)});
    for (std::size_t at = 9; at < whole.size(); ++at) {
        for (int value = 0; value < 256; value += 5) {
            Bytes changed = whole;
            changed[at] = static_cast<std::uint8_t>(value);
            describeCamera({changed, changed}, 0);
        }
    }
}

} // namespace
} // namespace tavelo
