// SPDX-License-Identifier: MIT
#include "service/values.h"

#include <gmock/gmock.h>

#include <QStringList>
#include <limits>

namespace tavelo {
namespace {

using Kind = ControlChange::Kind;
using ::testing::HasSubstr;

const NamedControl& control(const char* name) {
    return *controlNamed(name);
}

/// The only change for one value; nothing, with the error, if it is wrong.
std::optional<ControlChange> change(const char* name, const QVariant& value, ServiceError& error) {
    const auto changes = changesOf({{QString::fromUtf8(name), value}}, controlNamed, error);
    return changes && changes->size() == 1 ? std::optional(changes->front()) : std::nullopt;
}

TEST(ServiceValues, SwitchesAreBooleansChoicesWordsAndOthersIntegers) {
    EXPECT_EQ(variantOf(control("focus-auto"), 1), QVariant(true));
    EXPECT_EQ(variantOf(control("focus-auto"), 0), QVariant(false));
    EXPECT_EQ(variantOf(control("power-line-frequency"), 1), QVariant(QStringLiteral("50hz")));
    EXPECT_EQ(variantOf(control("power-line-frequency"), 17), QVariant(qlonglong(17))) << "no word for it";
    const QVariant number = variantOf(control("brightness"), -5);
    EXPECT_EQ(number.typeId(), QMetaType::LongLong);
    EXPECT_EQ(number.toLongLong(), -5);
}

TEST(ServiceValues, WholeNumbersOfEveryTypeAreAbsolute) {
    ServiceError error;
    for (const QVariant& value :
         {QVariant(7), QVariant(7U), QVariant(qlonglong(7)), QVariant(qulonglong(7)), QVariant(7.0),
          QVariant::fromValue(short(7)), QVariant::fromValue(ushort(7)), QVariant::fromValue(uchar(7))}) {
        const auto parsed = change("brightness", value, error);
        ASSERT_TRUE(parsed) << value.typeName() << ": " << error.text;
        EXPECT_EQ(parsed->kind, Kind::absolute);
        EXPECT_EQ(parsed->number, 7);
    }
    EXPECT_EQ(change("brightness", -7, error)->number, -7) << "not relative, although it has a sign";
}

TEST(ServiceValues, TextsAreThoseOfTheCommandLine) {
    ServiceError error;
    EXPECT_EQ(change("brightness", QStringLiteral("-7"), error)->kind, Kind::relative);
    EXPECT_EQ(change("brightness", QStringLiteral("50%"), error)->kind, Kind::percent);
    EXPECT_EQ(change("brightness", QStringLiteral("default"), error)->kind, Kind::defaultValue);
    EXPECT_EQ(change("power-line-frequency", QStringLiteral("60hz"), error)->number, 2);
}

TEST(ServiceValues, OnlySwitchesTakeBooleans) {
    ServiceError error;
    EXPECT_EQ(change("focus-auto", true, error)->number, 1);
    EXPECT_EQ(change("focus-auto", false, error)->number, 0);
    EXPECT_FALSE(change("brightness", true, error));
    EXPECT_EQ(error.kind, ServiceError::Kind::invalid);
}

TEST(ServiceValues, OtherTypesAndSizesAreErrors) {
    using Limits = std::numeric_limits<double>;
    EXPECT_TRUE([] {
        ServiceError error;
        return change("brightness", qlonglong(std::numeric_limits<std::uint32_t>::max()), error);
    }());
    for (const QVariant& value :
         {QVariant(), QVariant(0.5), QVariant(Limits::quiet_NaN()), QVariant(Limits::infinity()),
          QVariant(std::numeric_limits<qlonglong>::max()), QVariant(std::numeric_limits<qlonglong>::min()),
          QVariant(qlonglong(4294967296)), QVariant(std::numeric_limits<qulonglong>::max()),
          QVariant(QStringList{QStringLiteral("1")}), QVariant(QByteArray("1")), QVariant(QStringLiteral("")),
          QVariant(QStringLiteral("bright")), QVariant(QString(65, QLatin1Char('1'))),
          QVariant(QVariantMap())}) {
        ServiceError error;
        EXPECT_FALSE(change("brightness", value, error)) << value.typeName();
        EXPECT_EQ(error.kind, ServiceError::Kind::invalid);
        EXPECT_THAT(error.text, HasSubstr("brightness"));
    }
}

TEST(ServiceValues, UnknownAndOverlongNamesAreErrors) {
    for (const char* name : {"", "brightnes", "brightness=1", "=1"}) {
        ServiceError error;
        EXPECT_FALSE(change(name, 1, error)) << name;
        EXPECT_THAT(error.text, HasSubstr("no control is called"));
    }
    ServiceError error;
    EXPECT_FALSE(changesOf({{QString(100'000, QLatin1Char('b')), 1}}, controlNamed, error));
    EXPECT_LT(error.text.size(), 200U);
}

TEST(ServiceValues, OneControlMayNotHaveTwoValues) {
    ServiceError error;
    EXPECT_FALSE(
        changesOf({{QStringLiteral("brightness"), 1}, {QStringLiteral("Brightness"), 2}}, controlNamed, error)
            .has_value());
    EXPECT_THAT(error.text, HasSubstr("brightness is named twice"));
}

TEST(ServiceValues, NoneAndTooManyAreErrors) {
    ServiceError error;
    EXPECT_FALSE(changesOf({}, controlNamed, error));
    EXPECT_THAT(error.text, HasSubstr("1 to 64"));
    QVariantMap values;
    for (int i = 0; i < 65; ++i)
        values.insert(QString::number(i), i);
    EXPECT_FALSE(changesOf(values, controlNamed, error));
    EXPECT_THAT(error.text, HasSubstr("1 to 64"));
    values.remove(QStringLiteral("0"));
    EXPECT_FALSE(changesOf(values, controlNamed, error));
    EXPECT_THAT(error.text, HasSubstr("no control is called")) << "64 are not too many";
}

TEST(ServiceValues, AutomaticControlsComeFirst) {
    ServiceError error;
    // By name, "focus" comes before "focus-auto".
    const auto changes = changesOf({{QStringLiteral("brightness"), 3},
                                    {QStringLiteral("focus"), 1},
                                    {QStringLiteral("focus-auto"), false}},
                                   controlNamed, error);
    ASSERT_TRUE(changes);
    EXPECT_EQ(changes->at(0).control->name, "focus-auto");
    EXPECT_EQ(changes->at(1).control->name, "brightness");
    EXPECT_EQ(changes->at(2).control->name, "focus");
}

} // namespace
} // namespace tavelo
