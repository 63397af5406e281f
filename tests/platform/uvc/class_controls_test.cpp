// SPDX-License-Identifier: MIT
#include "platform/uvc/class_controls.h"

#include <gmock/gmock.h>

#include <array>
#include <set>
#include <vector>

#include "platform/uvc/camera_record.h"

namespace tavelo {
namespace {

using ::testing::ElementsAreArray;

TEST(ClassControls, NameEveryControlThatHasABitAndNoOther) {
    std::set<std::string_view> names;
    for (const ClassControl& control : classControls()) {
        EXPECT_NE(controlBit(control.address), 0U) << control.name;
        EXPECT_EQ(classControl(control.address), &control);
        EXPECT_GT(control.size, 0) << control.name;
        names.insert(control.name);
    }
    EXPECT_EQ(names.size(), classControls().size());
    for (const UvcEntity entity : {UvcEntity::cameraTerminal, UvcEntity::processingUnit}) {
        for (int selector = 0; selector < 256; ++selector) {
            const ControlAddress address{entity, static_cast<std::uint8_t>(selector)};
            EXPECT_EQ(classControl(address) != nullptr, controlBit(address) != 0) << selector;
        }
    }
}

TEST(ClassControls, HaveTheSizesOfTheClass) {
    constexpr std::array terminalSizes{1, 1, 1, 4, 1, 2, 2, 1, 2, 1, 2, 3, 8, 4, 2, 2, 1, 1, 12, 10};
    constexpr std::array unitSizes{2, 2, 2, 2, 1, 2, 2, 2, 2, 2, 1, 4, 1, 2, 2, 1, 1, 1, 1};
    const auto sizesOf = [](UvcEntity entity) {
        std::vector<int> sizes;
        for (const ClassControl& control : classControls())
            if (control.address.entity == entity) sizes.push_back(int(control.size));
        return sizes;
    };
    EXPECT_THAT(sizesOf(UvcEntity::cameraTerminal), ElementsAreArray(terminalSizes));
    EXPECT_THAT(sizesOf(UvcEntity::processingUnit), ElementsAreArray(unitSizes));
}

TEST(ClassControls, ValuesThatAreNoNumbersFitTheirForm) {
    for (const ClassControl& control : classControls()) {
        const bool oneByte = control.form == ValueForm::bitmap || control.form == ValueForm::toggle;
        EXPECT_TRUE(!oneByte || control.size == 1) << control.name;
        EXPECT_TRUE(control.form != ValueForm::signedPair || control.size == 8) << control.name;
        EXPECT_TRUE(control.form == ValueForm::compound || control.size <= 8) << control.name;
    }
    EXPECT_EQ(classControl(control::brightness)->form, ValueForm::signedNumber);
    EXPECT_EQ(classControl(control::exposureTime)->size, 4);
}

TEST(ControlReads, EachHasItsPlaceAndItsName) {
    for (std::size_t i = 0; i < controlReads.size(); ++i)
        EXPECT_EQ(placeOf(controlReads[i]), i);
    EXPECT_EQ(placeOf(UvcRequest::setCur), controlReads.size());
    EXPECT_EQ(nameOf(UvcRequest::getRes), "GET_RES");
    EXPECT_EQ(nameOf(UvcRequest::setCur), "SET_CUR");
    EXPECT_EQ(nameOf(UvcRequest{0x99}), "");
}

} // namespace
} // namespace tavelo
