// SPDX-License-Identifier: MIT
#include "uvc/kt_uvc_parameters.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "uvc/keyed_archive.h"

namespace tavelo {
namespace {

using ::testing::InSequence;
using ::testing::Return;

KTUVCParameters makeRecord(bool isSigned = true) {
    return {2, 7, 2, true, false, true, isSigned, false, KTUVCParameterType::choice, "Saturation"};
}

class MockArchiver : public KeyedArchiver {
public:
    MOCK_METHOD(void, encodeText, (std::string_view, std::string_view), (override));
    MOCK_METHOD(void, encodeBool, (bool, std::string_view), (override));
    MOCK_METHOD(void, encodeInt64, (std::int64_t, std::string_view), (override));
};

class MockUnarchiver : public KeyedUnarchiver {
public:
    MOCK_METHOD(std::string, decodeText, (std::string_view), (const, override));
    MOCK_METHOD(bool, decodeBool, (std::string_view), (const, override));
    MOCK_METHOD(std::int64_t, decodeInt64, (std::string_view), (const, override));
};

TEST(KTUVCControlInfo, KeepsItsArgumentsInOrder) {
    const KTUVCControlInfo info(1, 13, 8, true, false, true, false, true);
    EXPECT_EQ(info.unit(), 1);
    EXPECT_EQ(info.selector(), 13);
    EXPECT_EQ(info.intendedSize(), 8);
    EXPECT_TRUE(info.hasMin());
    EXPECT_FALSE(info.hasMax());
    EXPECT_TRUE(info.hasDef());
    EXPECT_FALSE(info.isSigned());
    EXPECT_TRUE(info.isRelative());
}

TEST(KTUVCControlInfo, EveryFieldCanBeSet) {
    KTUVCControlInfo info(1, 13, 8, true, false, true, false, true);
    info.setUnit(2);
    info.setSelector(5);
    info.setIntendedSize(1);
    info.setHasMin(false);
    info.setHasMax(true);
    info.setHasDef(false);
    info.setIsSigned(true);
    info.setIsRelative(false);
    EXPECT_EQ(info.unit(), 2);
    EXPECT_EQ(info.selector(), 5);
    EXPECT_EQ(info.intendedSize(), 1);
    EXPECT_FALSE(info.hasMin());
    EXPECT_TRUE(info.hasMax());
    EXPECT_FALSE(info.hasDef());
    EXPECT_TRUE(info.isSigned());
    EXPECT_FALSE(info.isRelative());
}

TEST(KTUVCParameters, NewRecordIsUnsupportedAndAllZero) {
    const KTUVCParameters record = makeRecord();
    EXPECT_FALSE(record.supported());
    for (const std::int64_t number : {record.min(), record.max(), record.val(), record.def(), record.tag(),
                                      std::int64_t{record.actualSize()}})
        EXPECT_EQ(number, 0);
    EXPECT_EQ(record.enumeratorDictionary(), nullptr);
    EXPECT_EQ(record.type(), KTUVCParameterType::choice);
    EXPECT_EQ(record.string(), "Saturation");
    ASSERT_NE(record.controlInfo(), nullptr);
    EXPECT_EQ(record.controlInfo()->unit(), 2);
    EXPECT_EQ(record.controlInfo()->selector(), 7);
    EXPECT_EQ(record.controlInfo()->intendedSize(), 2);
    EXPECT_TRUE(record.controlInfo()->hasMin());
    EXPECT_FALSE(record.controlInfo()->hasMax());
    EXPECT_TRUE(record.controlInfo()->hasDef());
    EXPECT_TRUE(record.controlInfo()->isSigned());
    EXPECT_FALSE(record.controlInfo()->isRelative());
}

TEST(KTUVCParameters, HalvesOfAPairAreSigned) {
    const auto pair = static_cast<std::int64_t>(0xFFFFFFFF00000005);
    EXPECT_EQ(KTUVCParameters::second32BitValueFrom64BitValue(pair), -1);
    EXPECT_EQ(KTUVCParameters::first32BitValueFrom64BitValue(pair), 5);
}

TEST(KTUVCParameters, Bit31IsASignForSignedAndUnsignedControlsAlike) {
    const auto bit31 = static_cast<std::int32_t>(0x80000000);
    EXPECT_EQ(makeRecord(true).valueFromInt32BitValue(bit31), -2147483648LL);
    EXPECT_EQ(makeRecord(false).valueFromInt32BitValue(bit31), -2147483648LL);
}

TEST(KTUVCParameters, ArchiveKeepsNameAndValuesAndLosesDescriptionSizeAndChoices) {
    KTUVCParameters record = makeRecord();
    record.setSupported(true);
    record.setVal(-7);
    record.setMax(1LL << 40);
    record.setMin(-(1LL << 40));
    record.setTag(17);
    record.setActualSize(2);
    record.setEnumeratorDictionary(std::make_shared<KTUVCParameters::Choices>());

    KeyedArchive archive;
    record.encodeWithCoder(archive);
    archive.encodeInt64(33, "def"); // only a camera or an archive sets a record's default
    const KTUVCParameters copy{archive};

    EXPECT_EQ(copy.string(), "Saturation");
    EXPECT_TRUE(copy.supported());
    EXPECT_EQ(copy.val(), -7);
    EXPECT_EQ(copy.max(), 1LL << 40);
    EXPECT_EQ(copy.min(), -(1LL << 40));
    EXPECT_EQ(copy.def(), 33);
    EXPECT_EQ(copy.type(), KTUVCParameterType::choice);
    EXPECT_EQ(copy.tag(), 17);
    EXPECT_EQ(copy.controlInfo(), nullptr);
    EXPECT_EQ(copy.actualSize(), 0);
    EXPECT_EQ(copy.enumeratorDictionary(), nullptr);

    KeyedArchive again;
    copy.encodeWithCoder(again);
    EXPECT_EQ(again.values(), archive.values());
}

TEST(KTUVCParameters, ArchiveIsWrittenInAFixedOrder) {
    const KTUVCParameters record = makeRecord();
    MockArchiver coder;
    const InSequence inOrder;
    EXPECT_CALL(coder, encodeText(std::string_view("Saturation"), std::string_view("string")));
    EXPECT_CALL(coder, encodeBool(false, std::string_view("supported")));
    for (const char* key : {"val", "max", "min", "def"})
        EXPECT_CALL(coder, encodeInt64(0, std::string_view(key)));
    EXPECT_CALL(coder, encodeInt64(1, std::string_view("type")));
    EXPECT_CALL(coder, encodeInt64(0, std::string_view("tag")));
    record.encodeWithCoder(coder);
}

TEST(KTUVCParameters, ArchiveIsReadInTheSameOrder) {
    MockUnarchiver coder;
    const InSequence inOrder;
    EXPECT_CALL(coder, decodeText(std::string_view("string"))).WillOnce(Return("Zoom"));
    EXPECT_CALL(coder, decodeBool(std::string_view("supported"))).WillOnce(Return(true));
    std::int64_t value = 0;
    for (const char* key : {"val", "max", "min", "def", "type", "tag"})
        EXPECT_CALL(coder, decodeInt64(std::string_view(key))).WillOnce(Return(++value));
    const KTUVCParameters record{coder};
    EXPECT_EQ(record.tag(), 6);
}

TEST(KTUVCParameters, DescriptionNamesEveryField) {
    KTUVCParameters record = makeRecord();
    record.setSupported(true);
    record.setVal(-1);
    record.setMax(200);
    record.setMin(-200);
    record.setTag(17);
    std::ostringstream address;
    address << static_cast<const void*>(&record);
    EXPECT_EQ(record.description(), "<" + address.str() +
                                        " KTUVCParameters string:Saturation supported:1 val:-1 max:200 "
                                        "min:-200 def:0 type:1 tag:17>");
}

} // namespace
} // namespace tavelo
