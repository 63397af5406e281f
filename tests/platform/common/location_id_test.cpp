// SPDX-License-Identifier: MIT
#include "platform/common/location_id.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <set>

namespace tavelo {
namespace {

using testing::Each;
using testing::Ge;

std::uint32_t location(std::initializer_list<std::uint8_t> ports, std::uint8_t hub = 0x14) {
    return locationIdentifier(hub, std::vector<std::uint8_t>(ports));
}

std::vector<std::string> somePlaces(std::size_t count) {
    std::vector<std::string> places;
    for (std::size_t i = 0; i < count; ++i)
        places.push_back("pci0000:00/" + std::to_string(i) + ".0");
    return places;
}

// Two places that have the same preferred byte.
std::pair<std::string, std::string> collidingPlaces() {
    const auto places = somePlaces(400);
    for (std::size_t a = 0; a < places.size(); ++a) {
        for (std::size_t b = a + 1; b < places.size(); ++b) {
            if (rootHubBytes(std::span(&places[a], 1)) == rootHubBytes(std::span(&places[b], 1)))
                return {places[a], places[b]};
        }
    }
    ADD_FAILURE() << "400 places and no collision";
    return {};
}

TEST(LocationIdentifier, OneDigitAPortFromTheLeft) {
    EXPECT_EQ(location({2}), 0x14200000U);
    EXPECT_EQ(location({1, 4, 15}), 0x1414F000U);
    EXPECT_EQ(location({1, 2, 3, 4, 5, 6}), 0x14123456U);
    EXPECT_EQ(location({}), 0x14000000U);
}

TEST(LocationIdentifier, APortAboveFifteenTakesThreeDigits) {
    EXPECT_EQ(location({16}), 0x14010000U);
    EXPECT_EQ(location({2, 255}), 0x1420FF00U);
    EXPECT_EQ(location({21, 3}), 0x14015300U);
}

TEST(LocationIdentifier, NoTwoWaysThatFitShareAnIdentifier) {
    std::set<std::uint32_t> seen;
    std::size_t ways = 0;
    const std::vector<std::uint8_t> ports{1, 2, 9, 15, 16, 17, 31, 32, 255};
    std::vector<std::vector<std::uint8_t>> waiting{{}};
    while (!waiting.empty()) {
        const auto way = waiting.back();
        waiting.pop_back();
        const std::size_t digits =
            way.size() + 2 * std::size_t(std::ranges::count_if(way, [](auto p) { return p > 15; }));
        if (digits > 6) continue;
        seen.insert(locationIdentifier(0x20, way));
        ++ways;
        for (const std::uint8_t port : ports) {
            auto longer = way;
            longer.push_back(port);
            waiting.push_back(longer);
        }
    }
    EXPECT_GT(ways, 1000U);
    EXPECT_EQ(seen.size(), ways);
}

TEST(LocationIdentifier, WaysThatDoNotFitStayApartFromAllThatDo) {
    for (const auto& way :
         {std::vector<std::uint8_t>{16, 1, 2, 3, 4}, {1, 2, 3, 4, 5, 6, 7}, {16, 17, 18}, {0}, {0, 3}}) {
        const std::uint32_t id = locationIdentifier(0x14, way);
        EXPECT_EQ(id >> 16, 0x1400U);
        EXPECT_NE(id & 0xFFFF, 0U);
        EXPECT_EQ(id, locationIdentifier(0x14, way));
    }
    EXPECT_NE(location({16, 1, 2, 3, 4}), location({16, 1, 2, 3, 5}));
}

TEST(RootHubPlace, ForgetsTheBusNumbersOfPciAndKeepsTheWiring) {
    EXPECT_EQ(rootHubPlace("pci0000:00/0000:00:14.0", 0), "pci0000:00/14.0");
    EXPECT_EQ(rootHubPlace("pci0000:00/0000:00:1c.4/0000:03:00.0", 0), "pci0000:00/1c.4/00.0");
    EXPECT_EQ(rootHubPlace("pci10000:e0/10000:e0:06.0", 0), "pci10000:e0/06.0");
    EXPECT_EQ(rootHubPlace("pci0000:00/0000:00:1c.4/0000:03:00.0", 0),
              rootHubPlace("pci0000:00/0000:00:1c.4/0000:07:00.0", 0));
}

TEST(RootHubPlace, KeepsWhatIsNoPciFunction) {
    EXPECT_EQ(rootHubPlace("platform/vhci_hcd.0", 0), "platform/vhci_hcd.0");
    EXPECT_EQ(rootHubPlace("platform/soc/fe980000.usb", 1), "platform/soc/fe980000.usb#1");
    EXPECT_EQ(rootHubPlace("", 0), "");
}

TEST(RootHubPlace, TellsTheHubsOfOneControllerApart) {
    EXPECT_NE(rootHubPlace("pci0000:00/0000:00:14.0", 0), rootHubPlace("pci0000:00/0000:00:14.0", 1));
}

TEST(RootHubBytes, AreNeverSoSmallThatAShorterReadingCouldMeetThem) {
    EXPECT_THAT(rootHubBytes(somePlaces(240)), Each(Ge(0x10)));
}

TEST(RootHubBytes, AreDistinctUpTo240Hubs) {
    const auto bytes = rootHubBytes(somePlaces(240));
    EXPECT_EQ(std::set<std::uint8_t>(bytes.begin(), bytes.end()).size(), 240U);
}

TEST(RootHubBytes, EndEvenWithMoreHubsThanBytes) {
    EXPECT_EQ(rootHubBytes(somePlaces(1000)).size(), 1000U);
}

TEST(RootHubBytes, DoNotDependOnTheOrder) {
    auto places = somePlaces(60);
    const auto forward = rootHubBytes(places);
    std::ranges::reverse(places);
    auto backward = rootHubBytes(places);
    std::ranges::reverse(backward);
    EXPECT_EQ(forward, backward);
}

TEST(RootHubBytes, StayWhenOtherControllersComeAndGo) {
    const std::vector<std::string> few{"pci0000:00/14.0", "pci0000:00/1a.0"};
    const std::vector<std::string> more{"pci0000:00/1c.0/00.0", "pci0000:00/14.0", "platform/vhci_hcd.0",
                                        "pci0000:00/1a.0"};
    EXPECT_EQ(rootHubBytes(few)[0], rootHubBytes(more)[1]);
    EXPECT_EQ(rootHubBytes(few)[1], rootHubBytes(more)[3]);
}

TEST(RootHubBytes, OfTwoThatCollideTheOneNearerToTheProcessorKeepsItsByte) {
    const auto [first, second] = collidingPlaces();
    const std::vector<std::string> both{first, second};
    const auto bytes = rootHubBytes(both);
    EXPECT_NE(bytes[0], bytes[1]);
    // A new controller behind a bridge, whichever it is, yields to a built-in controller.
    std::string behindBridge;
    for (int i = 0; i < 100000 && behindBridge.empty(); ++i) {
        const std::string place = "pci0000:00/00.0/" + std::to_string(i);
        if (rootHubBytes(std::span(&place, 1)) == rootHubBytes(std::span(&first, 1))) behindBridge = place;
    }
    ASSERT_FALSE(behindBridge.empty());
    const std::vector<std::string> docked{behindBridge, first};
    EXPECT_EQ(rootHubBytes(docked)[1], rootHubBytes(std::span(&first, 1))[0]);
    EXPECT_NE(rootHubBytes(docked)[0], rootHubBytes(docked)[1]);
}

// Profiles are stored under these identifiers, so changing the hash would lose all users' settings.
TEST(RootHubBytes, AreTheSameInEveryVersion) {
    const std::vector<std::string> places{"pci0000:00/14.0", "pci0000:00/14.0#1", "platform/vhci_hcd.0"};
    const auto bytes = rootHubBytes(places);
    EXPECT_EQ(bytes, (std::vector<std::uint8_t>{0xA3, 0x13, 0x3B}));
}

TEST(CaptureIdentifier, IsLocationVendorAndProductInLowerCase) {
    EXPECT_EQ(captureIdentifier(0x14200000, 0x046D, 0x0825), "0x14200000046d0825");
    EXPECT_EQ(captureIdentifier(0x00ABCDEF, 0x1, 0xF), "0x00abcdef0001000f");
}

TEST(CaptureIdentifier, EndsInTheInterfaceOfASecondFunction) {
    EXPECT_EQ(captureIdentifier(0x14200000, 0x046D, 0x0825, 2), "0x14200000046d082502");
    EXPECT_EQ(captureIdentifier(0x14200000, 0x046D, 0x0825, 0xFF), "0x14200000046d0825ff");
}

} // namespace
} // namespace tavelo
