// SPDX-License-Identifier: MIT
// Numbers of the class, as they stand in its tables.
#include "platform/uvc/controls.h"

#include <gmock/gmock.h>

#include <map>
#include <vector>

namespace tavelo {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr auto terminal = UvcEntity::cameraTerminal;
constexpr auto unit = UvcEntity::processingUnit;

TEST(UvcRequests, HaveTheCodesOfTheClass) {
    EXPECT_EQ(codeOf(UvcRequest::setCur), 0x01);
    std::uint8_t code = 0x81;
    for (const UvcRequest request :
         {UvcRequest::getCur, UvcRequest::getMin, UvcRequest::getMax, UvcRequest::getRes, UvcRequest::getLen,
          UvcRequest::getInfo, UvcRequest::getDef})
        EXPECT_EQ(codeOf(request), code++);
}

// The bits of bmControls by selector.
const std::map<int, unsigned> terminalBits{
    {1, 0},  {2, 1},   {3, 2},   {4, 3},   {5, 4},   {6, 5},   {7, 6},   {8, 17},  {9, 7},   {10, 8},
    {11, 9}, {12, 10}, {13, 11}, {14, 12}, {15, 13}, {16, 14}, {17, 18}, {18, 19}, {19, 20}, {20, 21}};
const std::map<int, unsigned> unitBits{{1, 8},   {2, 0},   {3, 1},   {4, 9},   {5, 10}, {6, 2},   {7, 3},
                                       {8, 4},   {9, 5},   {10, 6},  {11, 12}, {12, 7}, {13, 13}, {14, 14},
                                       {15, 15}, {16, 11}, {17, 16}, {18, 17}, {19, 18}};

TEST(UvcControls, HaveTheirBitInTheMapOfTheirEntity) {
    for (const auto& [entity, bits] : {std::pair(terminal, terminalBits), std::pair(unit, unitBits)}) {
        for (int selector = 0; selector < 256; ++selector) {
            const auto bit = bits.find(selector);
            const std::uint32_t mask = bit == bits.end() ? 0 : 1U << bit->second;
            EXPECT_EQ(controlBit({entity, std::uint8_t(selector)}), mask) << selector;
        }
    }
}

TEST(UvcControls, EachBitOfAMapListsItsSelector) {
    for (const auto& [entity, bits] : {std::pair(terminal, terminalBits), std::pair(unit, unitBits)}) {
        for (unsigned bit = 0; bit < 32; ++bit) {
            Bytes map(4, 0);
            map[bit / 8] = std::uint8_t(1U << bit % 8);
            std::bitset<256> expected;
            for (const auto& [selector, its] : bits) {
                if (its == bit) expected.set(std::size_t(selector));
            }
            EXPECT_EQ(listedSelectors(entity, map), expected) << bit;
        }
    }
}

TEST(UvcControls, AShortMapListsWhatItHolds) {
    EXPECT_TRUE(listedSelectors(unit, {}).none());
    EXPECT_EQ(listedSelectors(terminal, Bytes{0xFF}).count(), 8U);
}

TEST(UvcControls, SwitchesAndModesHaveARangeThatACameraNeedNotReport) {
    struct Range {
        ControlAddress control;
        int minimum;
        int maximum;
    };
    for (const auto& [control, minimum, maximum] :
         {Range{{terminal, 1}, 0, 1}, Range{{terminal, 2}, 1, 8}, Range{{terminal, 3}, 0, 1},
          Range{{terminal, 8}, 0, 1}, Range{{unit, 5}, 0, 2}, Range{{unit, 11}, 0, 1},
          Range{{unit, 13}, 0, 1}, Range{{unit, 16}, 0, 1}, Range{{unit, 19}, 0, 1}}) {
        EXPECT_EQ(classRange(control, UvcRequest::getMin, 0x0110), minimum) << int(control.selector);
        EXPECT_EQ(classRange(control, UvcRequest::getMax, 0x0110), maximum) << int(control.selector);
        EXPECT_EQ(classRange(control, UvcRequest::getDef, 0x0110), std::nullopt);
    }
    EXPECT_EQ(classRange({unit, 2}, UvcRequest::getMax, 0x0110), std::nullopt);
    EXPECT_EQ(classRange({terminal, 5}, UvcRequest::getMax, 0x0110), std::nullopt);
}

TEST(UvcControls, Version15AddsAnAutomaticPowerLineFrequency) {
    EXPECT_EQ(classRange({unit, 5}, UvcRequest::getMax, 0x0150), 3);
    EXPECT_EQ(classRange({unit, 11}, UvcRequest::getMax, 0x0150), 1);
}

} // namespace
} // namespace tavelo
