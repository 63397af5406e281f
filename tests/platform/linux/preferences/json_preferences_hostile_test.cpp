// SPDX-License-Identifier: MIT
// Preferences files that were not written by this program.
#include <algorithm>

#include <sys/stat.h>

#include <gmock/gmock.h>

#include <QFile>
#include <QJsonDocument>
#include <QTemporaryDir>

#include "platform/linux/preferences/json_preferences_store.h"
#include "support/synchronized.h"

namespace tavelo {
namespace {

using ::testing::HasSubstr;

class Hostile : public ::testing::Test {
protected:
    QString path() const { return folder_.filePath(QStringLiteral("panel.json")); }

    void write(const QByteArray& content) const {
        QFile file(path());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(content), content.size());
    }

    QByteArray content(const QString& suffix = {}) const {
        QFile file(path() + suffix);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    /// The output on standard error while a value is saved.
    std::string save(bool works) {
        ::testing::internal::CaptureStderr();
        JsonPreferencesStore store(mainQueue_, path());
        store.setObject({std::int64_t{1}}, "key");
        EXPECT_EQ(synchronized(store, mainQueue_), works);
        return ::testing::internal::GetCapturedStderr();
    }

    QTemporaryDir folder_;
    testing::ManualMainQueue mainQueue_;
};

TEST_F(Hostile, AFileOfAHundredMegabytesIsLeftAlone) {
    constexpr qint64 size = 100 << 20;
    {
        QFile file(path());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_TRUE(file.resize(size)); // sparse: uses no disk space
    }
    const std::string said = save(false);
    EXPECT_THAT(said, HasSubstr("larger than 16 MiB"));
    EXPECT_EQ(std::ranges::count(said, '\n'), 1);
    EXPECT_EQ(QFileInfo(path()).size(), size);
}

TEST_F(Hostile, APipeIsIgnoredWithoutBlocking) {
    ASSERT_EQ(mkfifo(QFile::encodeName(path()).constData(), 0600), 0);
    EXPECT_THAT(save(false), HasSubstr("not a regular file"));
}

TEST_F(Hostile, WhatIsNestedTooDeeplyIsKeptAside) {
    const QByteArray deep = "{\"a\":" + QByteArray(100'000, '[') + QByteArray(100'000, ']') + "}";
    write(deep);
    EXPECT_THAT(save(true), HasSubstr("kept as"));
    EXPECT_EQ(content(QStringLiteral(".broken")), deep);
}

TEST_F(Hostile, WhatIsNestedAsDeeplyAsCanBeReadSurvives) {
    const QByteArray deep = "{\"a\":" + QByteArray(1000, '[') + QByteArray(1000, ']') + "}";
    write(deep);
    const QJsonValue before = QJsonDocument::fromJson(deep).object().value(QStringLiteral("a"));
    ASSERT_TRUE(before.isArray());
    EXPECT_EQ(save(true), "");
    EXPECT_EQ(QJsonDocument::fromJson(content()).object().value(QStringLiteral("a")), before);
    EXPECT_NE(JsonPreferencesStore(mainQueue_, path()).objectForKey("a"), std::nullopt);
}

TEST_F(Hostile, NumbersBeyondSixtyFourBitsAreKept) {
    write(R"({"large": 18446744073709551616, "small": -1e300})");
    EXPECT_EQ(save(true), "");
    const JsonPreferencesStore reader(mainQueue_, path());
    EXPECT_EQ(reader.objectForKey("large"), PreferencesValue{18446744073709551616.0});
    EXPECT_EQ(reader.objectForKey("small"), PreferencesValue{-1e300});
}

TEST_F(Hostile, BytesThatAreNoTextAreKeptAside) {
    for (const QByteArray& bytes : {QByteArray("\0\0\0\0", 4), QByteArray("{\"a\": \"\xff\xfe\"}"),
                                    QByteArray("{\"a\": 1e999}"), QByteArray("{\"a\": 1} trailing")}) {
        write(bytes);
        EXPECT_THAT(save(true), HasSubstr("kept as")) << bytes.toStdString();
        EXPECT_EQ(content(QStringLiteral(".broken")), bytes);
        ASSERT_TRUE(QFile::remove(path() + QStringLiteral(".broken")));
    }
}

} // namespace
} // namespace tavelo
