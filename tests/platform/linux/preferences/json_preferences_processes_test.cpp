// SPDX-License-Identifier: MIT
// Several processes use one file.
#include <algorithm>

#include <gmock/gmock.h>

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>

#include "platform/linux/preferences/json_preferences_store.h"
#include "support/synchronized.h"

namespace tavelo {
namespace {

constexpr int patience = 60'000; // milliseconds

class Processes : public ::testing::Test {
protected:
    void start(QProcess& process, const QString& prefix, int count) const {
        process.start(QStringLiteral(PREFERENCES_WRITER), {path_, prefix, QString::number(count)});
    }

    std::int64_t stored(const std::string& key) const {
        testing::ManualMainQueue mainQueue;
        const auto value = JsonPreferencesStore(mainQueue, path_).objectForKey(key);
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

    // While they run, no number decreases, because each process replaces only its own keys.
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
        // Let it write a few values, more each time, then kill it at an arbitrary point.
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

        // The lock is gone with the process, and the file is intact.
        testing::ManualMainQueue mainQueue;
        JsonPreferencesStore store(mainQueue, path_);
        store.setObject({std::int64_t{0}}, "key-even");
        store.setObject({std::int64_t{0}}, "key-odd");
        ASSERT_TRUE(synchronized(store, mainQueue));
        EXPECT_THAT(
            QDir(folder_.path()).entryList(QDir::Files | QDir::Hidden),
            ::testing::UnorderedElementsAre(QStringLiteral("panel.json"), QStringLiteral("panel.json.lock")));
    }
}

/// A 64 KiB disk in a mount namespace of the command's own.
class FullPreferencesDisk : public Processes {
protected:
    void SetUp() override {
        if (run(mount_).exitCode != 0)
            GTEST_SKIP() << "no disk of its own to fill: unshare and mount are not allowed";
    }

    struct Result {
        int exitCode;
        QByteArray output;
    };
    static Result run(const QString& commands) {
        QProcess shell;
        shell.setProcessChannelMode(QProcess::MergedChannels);
        shell.start(QStringLiteral("unshare"),
                    {QStringLiteral("-rm"), QStringLiteral("sh"), QStringLiteral("-c"), commands});
        EXPECT_TRUE(shell.waitForFinished(patience));
        return {shell.exitCode(), shell.readAll()};
    }

    const QString disk_ = folder_.filePath(QStringLiteral("disk"));
    const QString mount_ = QStringLiteral("mkdir -p %1 && mount -t tmpfs -o size=64k tmpfs %1").arg(disk_);
};

TEST_F(FullPreferencesDisk, KeepsWhatIsStoredSaysWhyAndStoresAgainOnceThereIsRoom) {
    const QString script = mount_ + QStringLiteral(R"(
        cd %1
        save() { %2 panel.json key "$1" >/dev/null || echo failed; }
        save 1
        cp panel.json ../before.json
        cat /dev/zero > filler 2>/dev/null
        save 2
        cmp panel.json ../before.json && echo same
        rm filler
        save 2
        cmp -s panel.json ../before.json || echo another
        ls -A
    )")
                                        .arg(disk_, QStringLiteral(PREFERENCES_WRITER));
    EXPECT_EQ(run(script).output.toStdString(),
              "preferences: panel.json cannot be written (No space left on device)\n"
              "failed\nsame\nanother\npanel.json\npanel.json.lock\n");
}

} // namespace
} // namespace tavelo
