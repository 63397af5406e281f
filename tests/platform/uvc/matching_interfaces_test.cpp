// SPDX-License-Identifier: MIT
#include "platform/uvc/matching_interfaces.h"

#include <gmock/gmock.h>

#include "descriptor_builder.h"

namespace tavelo::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class MatchingInterfaces : public testing::Test {
protected:
    std::vector<std::uint8_t> numbers(UsbInterfaceMatch match) const {
        return matchingInterfaces(descriptors, match);
    }

    const Bytes descriptors =
        configuration({videoControl(0), interfaceDescriptor(1, 2), interfaceDescriptor(1, 2, 0x0E, 1),
                       interfaceDescriptor(2, 1, 0x01), interfaceDescriptor(3, 1, 0x0E, 0, 1)});
};

TEST_F(MatchingInterfaces, EachFieldIsCompared) {
    EXPECT_THAT(numbers({.interfaceClass = 14, .interfaceSubClass = 1}), ElementsAre(0, 3));
    EXPECT_THAT(numbers({.interfaceClass = 14, .interfaceSubClass = 1, .interfaceProtocol = 1}),
                ElementsAre(3));
    EXPECT_THAT(numbers({.interfaceClass = 1}), ElementsAre(2));
    EXPECT_THAT(numbers({.alternateSetting = 1}), ElementsAre(1));
    EXPECT_THAT(numbers({.interfaceClass = 99}), IsEmpty());
}

TEST_F(MatchingInterfaces, AnInterfaceWithSeveralSettingsCountsOnce) {
    EXPECT_THAT(numbers({}), ElementsAre(0, 1, 2, 3));
}

TEST_F(MatchingInterfaces, TheOrderIsThatOfTheDescriptors) {
    EXPECT_THAT(matchingInterfaces(configuration({videoControl(4), videoControl(2)}), {}), ElementsAre(4, 2));
}

TEST(MatchingInterfacesOfNothing, AreNone) {
    EXPECT_THAT(matchingInterfaces({}, {}), IsEmpty());
}

} // namespace
} // namespace tavelo::test
