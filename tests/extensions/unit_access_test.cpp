// SPDX-License-Identifier: MIT
#include "extensions/unit_access.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <map>

namespace tavelo {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Bytes = std::vector<std::uint8_t>;

// A unit that notes what it is asked, and answers from a table.
class FakeUnit {
public:
    FakeUnit() {
        answers[UvcRequest::getLen] = {3, 0};
        answers[UvcRequest::getInfo] = {3};
        answers[UvcRequest::getCur] = {0x11, 0x22, 0x33};
    }

    UnitConnection connection() {
        return {[this](UsbControlRequest& request) { return answer(request); }, 2, 9};
    }

    std::map<UvcRequest, Bytes> answers; ///< what is missing is stalled
    bool fails = false;
    std::uint32_t taken = 3; ///< bytes of a write
    std::vector<UsbControlRequest> asked;
    std::vector<Bytes> written;

private:
    bool answer(UsbControlRequest& request) {
        asked.push_back(request);
        if (fails) return false;
        if (static_cast<UvcRequest>(request.bRequest) == UvcRequest::setCur) {
            written.emplace_back(request.data, request.data + request.wLength);
            request.bytesDone = taken;
            return true;
        }
        const Bytes& bytes = answers[static_cast<UvcRequest>(request.bRequest)];
        request.bytesDone = static_cast<std::uint32_t>(std::min<std::size_t>(bytes.size(), request.wLength));
        std::copy_n(bytes.begin(), request.bytesDone, request.data);
        return true;
    }
};

ExtensionControl frequency() {
    ExtensionControl control;
    control.selector = 4;
    control.length = 3;
    control.field = {16, 8, false};
    return control;
}

TEST(UnitConnection, AsksTheClassRequestsOfTheUnit) {
    FakeUnit unit;
    EXPECT_EQ(unit.connection().read(frequency(), UvcRequest::getCur), 0x33);
    ASSERT_EQ(unit.asked.size(), 1U);
    EXPECT_EQ(unit.asked[0].bmRequestType, 0xA1);
    EXPECT_EQ(unit.asked[0].bRequest, 0x81);
    EXPECT_EQ(unit.asked[0].wValue, 0x0400);
    EXPECT_EQ(unit.asked[0].wIndex, 0x0902);
    EXPECT_EQ(unit.asked[0].wLength, 3);
}

TEST(UnitConnection, AsksForTheLengthAndTheAbilitiesInTheirOwnLengths) {
    FakeUnit unit;
    EXPECT_EQ(unit.connection().accessTo(frequency()).kind, UnitAccess::Kind::usable);
    ASSERT_EQ(unit.asked.size(), 2U);
    EXPECT_EQ(unit.asked[0].bRequest, 0x85);
    EXPECT_EQ(unit.asked[0].wLength, 2);
    EXPECT_EQ(unit.asked[1].bRequest, 0x86);
    EXPECT_EQ(unit.asked[1].wLength, 1);
}

TEST(UnitConnection, AnotherLengthIsNoAccess) {
    FakeUnit unit;
    unit.answers[UvcRequest::getLen] = {3, 1};
    const UnitAccess access = unit.connection().accessTo(frequency());
    EXPECT_EQ(access.kind, UnitAccess::Kind::otherLength);
    EXPECT_EQ(access.length, 259U);
}

TEST(UnitConnection, TellsWhatElseIsInTheWay) {
    FakeUnit unit;
    const auto kind = [&] { return unit.connection().accessTo(frequency()).kind; };
    for (const std::uint8_t info : Bytes{0, 1, 2}) {
        unit.answers[UvcRequest::getInfo] = {info};
        EXPECT_EQ(kind(), UnitAccess::Kind::incapable) << int{info};
    }
    unit.answers[UvcRequest::getInfo] = {};
    EXPECT_EQ(kind(), UnitAccess::Kind::incapable);
    unit.answers[UvcRequest::getInfo] = {0x0B};
    EXPECT_EQ(kind(), UnitAccess::Kind::usable);
    unit.answers[UvcRequest::getLen] = {3};
    EXPECT_EQ(kind(), UnitAccess::Kind::incapable);
    unit.fails = true;
    EXPECT_EQ(kind(), UnitAccess::Kind::failed);
}

TEST(UnitConnection, AShortAnswerIsNone) {
    FakeUnit unit;
    unit.answers[UvcRequest::getCur] = {0x11, 0x22};
    EXPECT_FALSE(unit.connection().read(frequency(), UvcRequest::getCur));
    EXPECT_FALSE(unit.connection().read(frequency(), UvcRequest::getMin)) << "stalled";
    EXPECT_FALSE(unit.connection().write(frequency(), 5));
    EXPECT_THAT(unit.written, IsEmpty());
}

TEST(UnitConnection, AWriteKeepsTheBitsOfOthers) {
    FakeUnit unit;
    ExtensionControl control = frequency();
    control.field = {6, 5, false};
    EXPECT_TRUE(unit.connection().write(control, 0b10101));
    EXPECT_THAT(unit.written, ElementsAre(ElementsAre(0b0101'0001, 0b0010'0101, 0x33)));
    ASSERT_EQ(unit.asked.size(), 3U) << "read, write, read again";
    EXPECT_EQ(unit.asked[1].bmRequestType, 0x21);
    EXPECT_EQ(unit.asked[1].bRequest, 0x01);
    EXPECT_EQ(unit.asked[1].wValue, 0x0400);
    EXPECT_EQ(unit.asked[1].wIndex, 0x0902);
}

TEST(UnitConnection, AWriteTellsWhatTheCameraHoldsAfterwards) {
    FakeUnit unit;
    EXPECT_EQ(unit.connection().write(frequency(), 5), 0x33) << "the camera keeps its value";
}

TEST(UnitConnection, AWriteThatTheCameraDidNotTakeIsNone) {
    FakeUnit unit;
    unit.taken = 0;
    EXPECT_FALSE(unit.connection().write(frequency(), 5));
    unit.fails = true;
    EXPECT_FALSE(unit.connection().write(frequency(), 5));
}

TEST(UnitConnection, AValueThatDoesNotFitIsNotSent) {
    FakeUnit unit;
    EXPECT_FALSE(unit.connection().write(frequency(), 256));
    EXPECT_FALSE(unit.connection().write(frequency(), -1));
    EXPECT_THAT(unit.asked, IsEmpty());
}

TEST(UnitConnection, ASwitchIsOnForAnyValueButZero) {
    FakeUnit unit;
    ExtensionControl control = frequency();
    control.form = ExtensionForm::toggle;
    EXPECT_EQ(unit.connection().read(control, UvcRequest::getCur), 1);
    unit.answers[UvcRequest::getCur] = {0xFF, 0xFF, 0};
    EXPECT_EQ(unit.connection().read(control, UvcRequest::getCur), 0);
}

} // namespace
} // namespace tavelo
