// SPDX-License-Identifier: MIT
// Saves with one failing system call: each call in turn, on several kinds of file systems.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <system_error>

#include <gmock/gmock.h>

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QTemporaryDir>

#include "failing_calls.h"
#include "platform/linux/preferences/json_preferences_store.h"
#include "support/synchronized.h"

namespace tavelo {
namespace {

using testing::FailingCalls;
using ::testing::HasSubstr;
using Call = FailingCalls::Call;

const std::string key = "kNSUserDefaultsKeyCameraSettings_0x14200000";
const QByteArray oldContent = "{\"kNSUserDefaultsKeyCameraSettings_0x14200000\": \"old\"}\n";

/// Limitations of a file system.
struct FileSystem {
    const char* name;
    std::vector<std::string> lacks;
    int error;
    bool hasFile; // from an earlier save
};

class Faults : public ::testing::TestWithParam<FileSystem> {
protected:
    struct Outcome {
        bool saved;
        std::string said;
        std::vector<Call> calls;
    };

    Faults() { reset(); }

    QString path() const { return folder_.filePath(QStringLiteral("panel.json")); }
    std::string folder() const { return folder_.path().toStdString(); }

    /// Of the file with this after its name; empty if there is none.
    std::string contentOf(const std::string& suffix) const {
        QFile file(path() + QString::fromStdString(suffix));
        return file.open(QIODevice::ReadOnly) ? file.readAll().toStdString() : std::string();
    }
    std::string content() const { return contentOf(""); }
    std::string expectedOldContent() const { return GetParam().hasFile ? oldContent.toStdString() : ""; }

    /// The value under the key in the complete file.
    std::string stored() const {
        const QJsonDocument document = QJsonDocument::fromJson(QByteArray::fromStdString(content()));
        return document.object().value(QString::fromStdString(key)).toString().toStdString();
    }

    std::string leftBehind() const {
        QStringList files = QDir(folder_.path()).entryList(QDir::Files | QDir::Hidden | QDir::System);
        files.removeAll(QStringLiteral("panel.json"));
        files.removeAll(QStringLiteral("panel.json.lock"));
        return files.join(u' ').toStdString();
    }

    /// Restores the state before a save.
    void reset() const {
        for (const QString& file : QDir(folder_.path()).entryList(QDir::Files | QDir::Hidden))
            QFile::remove(folder_.filePath(file));
        if (!GetParam().hasFile) return;
        QFile file(path());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(oldContent), oldContent.size());
        ASSERT_TRUE(file.setPermissions(QFile::ReadOwner | QFile::WriteOwner)); // a save must keep these
    }

    void breakFile(const std::string& content) const {
        QFile file(path());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(QByteArray::fromStdString(content));
    }

    void prepare(FailingCalls& failing) const {
        for (const std::string& call : GetParam().lacks)
            failing.failAlways(call, GetParam().error);
    }

    /// Reads, saves a value and destroys the store, like a program run.
    template <typename Prepare>
    Outcome save(const std::string& value, Prepare prepareCalls) {
        FailingCalls failing(folder());
        prepare(failing);
        prepareCalls(failing);
        ::testing::internal::CaptureStderr();
        Outcome outcome{};
        {
            testing::ManualMainQueue mainQueue;
            JsonPreferencesStore store(mainQueue, path(), {.lock = std::chrono::milliseconds(50)});
            store.setObject({value}, key);
            outcome.saved = synchronized(store, mainQueue);
        }
        outcome.said = ::testing::internal::GetCapturedStderr();
        outcome.calls = failing.calls();
        return outcome;
    }
    Outcome save(const std::string& value = "new") {
        return save(value, [](FailingCalls&) {});
    }

    /// Allowed only if the old content cannot be restored; the new content must then be complete.
    void expectOnlyTheFolderUnconfirmed(const Call& call) const {
        EXPECT_EQ(call.name, "fsync");
        EXPECT_EQ(call.file, "");
        EXPECT_THAT(GetParam().lacks, ::testing::Contains(std::string("renameat2 exchange")));
        EXPECT_EQ(stored(), "new");
    }

    const QTemporaryDir folder_;
};

/// True if a save succeeds although this call failed: a cleanup, a call that is retried, or a call before
/// the save, which reads the file again once it holds the lock.
bool isHarmless(const std::vector<Call>& calls, std::size_t number) {
    const auto& [name, file] = calls[number];
    if (name == "unlinkat") return true;
    if (name == "close") return !file.starts_with("/#") && file != "/.panel.json.unfinished";
    if (file == "/panel.json.lock") return name == "fstat";
    const auto lock = std::ranges::find(calls, "flock", &Call::name) - calls.begin();
    return static_cast<std::ptrdiff_t>(number) < lock && file == "/panel.json" &&
           (name == "open" || name == "fstat" || name == "read");
}

bool isRepeatedAfterASignal(const Call& call) {
    for (const char* name : {"open", "openat", "openat unnamed", "read", "write", "fsync", "flock", "close"})
        if (call.name == name) return true;
    return false;
}

TEST_P(Faults, SavingWithoutAFaultLeavesNoOtherFiles) {
    const Outcome outcome = save();
    EXPECT_TRUE(outcome.saved);
    EXPECT_EQ(outcome.said, "");
    EXPECT_EQ(stored(), "new");
    EXPECT_EQ(leftBehind(), "");
}

// A program that is killed then leaves nothing behind.
TEST_P(Faults, TheNewFileHasNoNameUntilItIsWholeIfTheFileSystemCan) {
    const int unnamed = ::open(folder().c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600);
    const bool can = unnamed >= 0 && !std::ranges::count(GetParam().lacks, "openat unnamed");
    if (unnamed >= 0) ::close(unnamed);
    const std::vector<Call> calls = save().calls;
    const auto flushed = std::ranges::find(calls, "fsync", &Call::name);
    ASSERT_NE(flushed, calls.end());
    const bool hasName = std::any_of(calls.begin(), flushed, [](const Call& call) {
        return call.name == "openat" && call.file == "/.panel.json.unfinished";
    });
    EXPECT_EQ(hasName, !can);
}

TEST_P(Faults, WritesThatTakeLessThanTheyWereGivenGoOn) {
    EXPECT_TRUE(save("new", [](FailingCalls& failing) { failing.shortenWrites(); }).saved);
    EXPECT_EQ(stored(), "new");
}

TEST_P(Faults, AFullDiskKeepsTheOldContent) {
    for (const char* call : {"write", "openat", "openat unnamed", "linkat"}) {
        reset();
        const Outcome outcome =
            save("new", [call](FailingCalls& failing) { failing.failAlways(call, ENOSPC); });
        const bool met = std::ranges::any_of(outcome.calls, [call](const Call& c) { return c.name == call; });
        if (!met) continue;
        EXPECT_FALSE(outcome.saved) << call;
        EXPECT_THAT(outcome.said, HasSubstr("cannot be written (No space left on device)"));
        EXPECT_EQ(content(), expectedOldContent()) << call;
        EXPECT_EQ(leftBehind(), "") << call;
    }
}

TEST_P(Faults, AFullDiskHidesNothingThatAnotherProgramWrote) {
    FailingCalls failing(folder());
    prepare(failing);
    testing::ManualMainQueue mainQueue;
    JsonPreferencesStore store(mainQueue, path());
    ASSERT_TRUE(synchronized(store, mainQueue)) << "after the file was read";
    QFile file(path());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("{\"another program's\": true}");
    file.close();
    ::testing::internal::CaptureStderr();
    failing.failAlways("write", ENOSPC);
    store.setObject({true}, key);
    EXPECT_FALSE(synchronized(store, mainQueue));
    ::testing::internal::GetCapturedStderr();
    EXPECT_TRUE(mainQueue.runUntil(
        [&] { return store.objectForKey("another program's") == PreferencesValue{true}; }));
}

TEST_P(Faults, EachCallThatFailsOnceEitherCostsNothingOrIsReportedAndKeepsTheOldContent) {
    const std::size_t count = save().calls.size();
    ASSERT_GT(count, 15U);
    std::size_t reported = 0;
    for (const int error : {EIO, ENOSPC, EACCES}) {
        for (std::size_t number = 0; number < count; ++number) {
            reset();
            const Outcome outcome =
                save("new", [&](FailingCalls& failing) { failing.failOnce(number, error); });
            ASSERT_GT(outcome.calls.size(), number);
            const Call call = outcome.calls[number];
            SCOPED_TRACE(std::to_string(number) + ": " + call.name + " " + call.file + ", errno " +
                         std::to_string(error));
            const bool lacking = std::ranges::count(GetParam().lacks, call.name) > 0; // always fails
            EXPECT_EQ(outcome.saved, lacking || isHarmless(outcome.calls, number));
            if (outcome.saved) {
                EXPECT_EQ(stored(), "new");
            } else {
                ++reported;
                EXPECT_THAT(outcome.said, HasSubstr(path().toStdString()));
                if (!lacking) {
                    EXPECT_THAT(outcome.said, HasSubstr(std::generic_category().message(error)));
                }
                EXPECT_EQ(std::ranges::count(outcome.said, '\n'), 1) << outcome.said;
                if (outcome.said.find("in place") == std::string::npos)
                    EXPECT_EQ(content(), expectedOldContent());
                else
                    expectOnlyTheFolderUnconfirmed(call);
            }
            EXPECT_EQ(leftBehind(), call.name == "unlinkat" ? ".panel.json.unfinished" : "");

            EXPECT_TRUE(save("next").saved) << "the next save works";
            EXPECT_EQ(stored(), "next");
            EXPECT_EQ(leftBehind(), "");
        }
    }
    EXPECT_GT(reported, 15U);
}

TEST_P(Faults, KeepsEveryBrokenFileIfRenamingCannotCheckForAnother) {
    std::vector<std::string> names;
    for (const int error : {EINVAL, ENOSYS, EINVAL}) {
        const std::string broken = "broken " + std::to_string(names.size());
        breakFile(broken);
        const Outcome outcome =
            save("new", [error](FailingCalls& failing) { failing.failAlways("renameat2", error); });
        names.push_back(names.empty() ? ".broken" : ".broken-" + std::to_string(names.size() + 1));
        EXPECT_THAT(outcome.said, HasSubstr("kept as " + path().toStdString() + names.back() + '\n'));
        EXPECT_EQ(contentOf(names.back()), broken);
    }
    EXPECT_EQ(contentOf(names.front()), "broken 0");
}

TEST_P(Faults, ABrokenFileThatCannotBeRenamedIsKeptInItsPlace) {
    breakFile("broken");
    const Outcome outcome =
        save("new", [](FailingCalls& failing) { failing.failAlways("renameat2", EACCES); });
    EXPECT_FALSE(outcome.saved);
    EXPECT_THAT(outcome.said, HasSubstr("and cannot be renamed (Permission denied)"));
    EXPECT_EQ(content(), "broken");
    EXPECT_EQ(leftBehind(), "");
}

TEST_P(Faults, ASignalInterruptsNoSave) {
    const std::vector<Call> calls = save().calls;
    for (std::size_t number = 0; number < calls.size(); ++number) {
        if (!isRepeatedAfterASignal(calls[number])) continue;
        reset();
        const Outcome outcome = save("new", [&](FailingCalls& failing) { failing.failOnce(number, EINTR); });
        EXPECT_TRUE(outcome.saved) << calls[number].name << ' ' << calls[number].file;
        EXPECT_EQ(outcome.said, "");
        EXPECT_EQ(stored(), "new");
        EXPECT_EQ(leftBehind(), "");
    }
}

TEST_P(Faults, WhatTheDiskMustConfirmIsAsked) {
    const std::vector<Call> calls = save().calls;
    const auto find = [&calls](const char* name, auto matches) {
        return std::ranges::find_if(
            calls, [&](const Call& call) { return call.name == name && matches(call.file); });
    };
    const auto data = find("fsync", [](const std::string& file) { return !file.empty(); });
    const auto folder = find("fsync", [](const std::string& file) { return file.empty(); });
    const auto inPlace = std::ranges::find_if(calls, [](const Call& call) {
        return call.name.starts_with("renameat") && call.file == "/panel.json";
    });
    ASSERT_NE(data, calls.end());
    ASSERT_NE(folder, calls.end());
    EXPECT_LT(data, inPlace) << "the content is on the disk before it takes the file's place";
    EXPECT_LT(inPlace, folder);
}

INSTANTIATE_TEST_SUITE_P(
    FileSystems, Faults,
    ::testing::Values(FileSystem{"ThatCanDoAll", {}, 0, true}, FileSystem{"WithoutTheFileYet", {}, 0, false},
                      FileSystem{"WithoutUnnamedFiles", {"openat unnamed"}, EOPNOTSUPP, true},
                      FileSystem{"WithoutExchange", {"renameat2 exchange"}, EINVAL, true},
                      FileSystem{"WithNeither", {"openat unnamed", "renameat2 exchange"}, EINVAL, true}),
    [](const auto& fileSystem) { return std::string(fileSystem.param.name); });

} // namespace
} // namespace tavelo
