// SPDX-License-Identifier: MIT
#include "service/arguments.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

namespace tavelo {
namespace {

using Kind = ServiceError::Kind;
using ::testing::HasSubstr;

TEST(ServiceArguments, CameraTextHas256CharactersAtMost) {
    ServiceError error;
    EXPECT_EQ(arguments::camera(QString(), error), "");
    EXPECT_TRUE(arguments::camera(QString(256, QLatin1Char('a')), error));
    EXPECT_FALSE(arguments::camera(QString(257, QLatin1Char('a')), error));
    EXPECT_EQ(error.kind, Kind::invalid);
}

TEST(ServiceArguments, FileIsAnAbsolutePath) {
    ServiceError error;
    EXPECT_EQ(arguments::file(QStringLiteral("/a/b.png"), error), "/a/b.png");
    for (const char* text : {"", "b.png", "./b.png", "~/b.png", "../b.png", "file:///b.png"}) {
        error = {};
        EXPECT_FALSE(arguments::file(QString::fromUtf8(text), error)) << text;
        EXPECT_EQ(error.kind, Kind::invalid);
        EXPECT_THAT(error.text, HasSubstr("not an absolute path"));
    }
    EXPECT_FALSE(arguments::file(QStringLiteral("/a/"), error));
    EXPECT_THAT(error.text, HasSubstr("folder"));
}

TEST(ServiceArguments, FileHasAsManyBytesAsTheSystemAllows) {
    ServiceError error;
    EXPECT_TRUE(arguments::file(QStringLiteral("/") + QString(4094, QLatin1Char('a')), error));
    EXPECT_FALSE(arguments::file(QStringLiteral("/") + QString(4095, QLatin1Char('a')), error));
    EXPECT_FALSE(arguments::file(QStringLiteral("/") + QString(2048, QChar(0xe9)), error))
        << "two bytes each";
    EXPECT_THAT(error.text, HasSubstr("too long"));
}

TEST(ServiceArguments, ProfilesAreNumberedFromOneToFour) {
    ServiceError error;
    EXPECT_EQ(arguments::profile(1, error), 0);
    EXPECT_EQ(arguments::profile(4, error), 3);
    for (const unsigned number : {0U, 5U, std::numeric_limits<unsigned>::max()}) {
        EXPECT_FALSE(arguments::profile(number, error)) << number;
        EXPECT_EQ(error.kind, Kind::invalid);
    }
}

TEST(ServiceArguments, LengthIsZeroOrAReasonableNumber) {
    ServiceError error;
    ASSERT_TRUE(arguments::length(0, error));
    EXPECT_FALSE(arguments::length(0, error)->seconds);
    EXPECT_EQ(arguments::length(0.1, error)->seconds, std::chrono::duration<double>(0.1));
    EXPECT_EQ(arguments::length(1e6, error)->seconds, std::chrono::duration<double>(1e6));
    using Limits = std::numeric_limits<double>;
    for (const double seconds : {0.09, -1.0, -0.1, 1000001.0, Limits::infinity(), -Limits::infinity(),
                                 Limits::quiet_NaN(), Limits::denorm_min()}) {
        EXPECT_FALSE(arguments::length(seconds, error)) << seconds;
        EXPECT_EQ(error.kind, Kind::invalid);
    }
}

TEST(ServiceArguments, ForceIsTheOnlyOptionOfSet) {
    ServiceError error;
    EXPECT_FALSE(arguments::setOptions({}, error)->force);
    EXPECT_TRUE(arguments::setOptions({{QStringLiteral("force"), true}}, error)->force);
    EXPECT_FALSE(arguments::setOptions({{QStringLiteral("force"), false}}, error)->force);
    EXPECT_FALSE(arguments::setOptions({{QStringLiteral("force"), 1}}, error));
    EXPECT_THAT(error.text, HasSubstr("boolean"));
    EXPECT_FALSE(arguments::setOptions({{QStringLiteral("Force"), true}}, error));
    EXPECT_EQ(error.kind, Kind::invalid);
    EXPECT_THAT(error.text, HasSubstr("\"Force\""));
}

TEST(ServiceErrors, NamesLeadBackToTheirKinds) {
    for (const Kind kind : {Kind::noSuchCamera, Kind::notShown, Kind::busy, Kind::denied, Kind::refused,
                            Kind::invalid, Kind::failed})
        EXPECT_EQ(errorKindNamed(busNameOf(kind)), kind);
    EXPECT_EQ(busNameOf(Kind::noSuchCamera), QStringLiteral("org.tavelo.ControlPanel1.Error.NoSuchCamera"));
    EXPECT_FALSE(errorKindNamed(QStringLiteral("org.freedesktop.DBus.Error.Failed")));
    EXPECT_FALSE(errorKindNamed(QStringLiteral("Busy")));
}

} // namespace
} // namespace tavelo
