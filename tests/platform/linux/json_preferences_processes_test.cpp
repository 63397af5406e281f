// SPDX-License-Identifier: MIT
// Several programs at one file.
#include <algorithm>

#include <gtest/gtest.h>

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>

#include "platform/linux/json_preferences_store.h"

namespace tavelo {
namespace {

constexpr int patience = 60'000; // milliseconds

class Processes : public testing::Test {
protected:
    void start(QProcess& process, const QString& prefix, int count) const {
        process.start(QStringLiteral(PREFERENCES_WRITER), {path_, prefix, QString::number(count)});
    }

    std::int64_t stored(const std::string& key) const {
        const auto value = JsonPreferencesStore(path_).objectForKey(key);
        return value ? std::get<std::int64_t>(value->value) : 0;
    }

    const QTemporaryDir folder_;
    const QString path_ = folder_.filePath(QStringLiteral("panel.json"));
};

TEST_F(Processes, WritingAtOnceLoseNothingOfEachOther) {
    constexpr int count = 300;
    QProcess first;
    QProcess second;
    start(first, QStringLiteral("first"), count);
    start(second, QStringLiteral("second"), count);

    // While they run, no number ever goes back: each replaces its own keys only.
    std::int64_t seen = 0;
    while (first.state() != QProcess::NotRunning || second.state() != QProcess::NotRunning) {
        const std::int64_t now = stored("first-even") + stored("second-even");
        ASSERT_GE(now, seen);
        seen = now;
        first.waitForFinished(1);
        second.waitForFinished(1);
    }
    EXPECT_EQ(first.exitCode(), 0) << first.readAllStandardError().toStdString();
    EXPECT_EQ(second.exitCode(), 0) << second.readAllStandardError().toStdString();
    for (const std::string prefix : {"first", "second"}) {
        EXPECT_EQ(stored(prefix + "-even"), count);
        EXPECT_EQ(stored(prefix + "-odd"), count - 1);
    }
}

TEST_F(Processes, KilledAtAnyMomentLoseNothingThatWasWritten) {
    for (int round = 0; round < 12; ++round) {
        QProcess writer;
        start(writer, QStringLiteral("key"), 0);
        // Let it write a few, more each time, and kill it wherever it is then.
        QByteArray output;
        while (output.count('\n') <= round) {
            ASSERT_TRUE(writer.waitForReadyRead(patience)) << writer.readAllStandardError().toStdString();
            output += writer.readAllStandardOutput();
        }
        writer.kill();
        ASSERT_TRUE(writer.waitForFinished(patience));
        output += writer.readAllStandardOutput();
        output.truncate(output.lastIndexOf('\n'));
        const std::int64_t confirmed = output.mid(output.lastIndexOf('\n') + 1).toLongLong();

        QFile file(path_);
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        QJsonParseError error;
        QJsonDocument::fromJson(file.readAll(), &error);
        ASSERT_EQ(error.error, QJsonParseError::NoError) << "round " << round;
        const std::int64_t last = std::max(stored("key-even"), stored("key-odd"));
        EXPECT_GE(last, confirmed);
        EXPECT_LE(last, confirmed + 1);

        // Its lock went with it, and the file is as good as new.
        JsonPreferencesStore store(path_);
        store.setObject({std::int64_t{0}}, "key-even");
        store.setObject({std::int64_t{0}}, "key-odd");
        ASSERT_TRUE(store.synchronize());
    }
}

} // namespace
} // namespace tavelo
