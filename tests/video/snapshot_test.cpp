// SPDX-License-Identifier: MIT
#include "video/snapshot.h"

#include <gmock/gmock.h>
#include <sys/resource.h>

#include <QDir>
#include <QFile>
#include <QImage>
#include <csignal>

#include "fake_backend.h"
#include "support/temporary_folder.h"
#include "test_picture.h"
#include "video/cpu/cpu_frame_passes.h"

namespace tavelo::testing {
namespace {

using namespace std::chrono_literals;

/// As good as a full disk: no file grows beyond that many bytes.
class SmallFilesOnly {
public:
    explicit SmallFilesOnly(std::size_t most) {
        ::getrlimit(RLIMIT_FSIZE, &before_);
        rlimit limit = before_;
        limit.rlim_cur = rlim_t(most);
        handler_ = std::signal(SIGXFSZ, SIG_IGN);
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~SmallFilesOnly() {
        ::setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, handler_);
    }
    SmallFilesOnly(const SmallFilesOnly&) = delete;
    SmallFilesOnly& operator=(const SmallFilesOnly&) = delete;

private:
    rlimit before_{};
    void (*handler_)(int) = nullptr;
};

class SnapshotTest : public ::testing::Test {
protected:
    std::string path(const char* name = "still.png") const { return (folder_.path() / name).string(); }
    QStringList files() const {
        return QDir(QString::fromStdString(folder_.path().string()))
            .entryList(QDir::Files | QDir::Hidden | QDir::System);
    }
    static QImage load(const std::string& path) { return QImage(QString::fromStdString(path)); }

    TemporaryFolder folder_;
};

TEST_F(SnapshotTest, SavesEveryPixelAsEightBitOpaqueRgb) {
    const auto frame = makeTestPicture(161, 90);
    ASSERT_EQ(writeSnapshot(*frame, path()), std::nullopt);
    QFile file(QString::fromStdString(path()));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray bytes = file.readAll();
    EXPECT_EQ(bytes.left(4), QByteArray("\x89PNG", 4));
    EXPECT_EQ(bytes.at(24), 8); // bits per channel
    EXPECT_EQ(bytes.at(25), 2); // red, green and blue, no alpha
    const QImage saved = load(path());
    ASSERT_EQ(saved.size(), QSize(161, 90));
    for (int y = 0; y < 90; ++y)
        for (int x = 0; x < 161; ++x) {
            const Colour colour = testColour(std::size_t(x), std::size_t(y), 161, 90);
            ASSERT_EQ(saved.pixel(x, y), qRgb(colour.red, colour.green, colour.blue)) << x << ", " << y;
        }
}

TEST_F(SnapshotTest, ReportsEachFailingStep) {
    const auto frame = makeTestPicture(16, 9);
    const std::vector<std::string> messages{
        "CIImage create error",          "NSCIImageRep create error",
        "NSImage create error",          "TIFFRepresentation error",
        "NSBitmapImageRep create error", "NSData representationUsingType:NSPNGFileType error"};
    ASSERT_EQ(snapshotSteps().size(), messages.size());
    for (std::size_t i = 0; i < messages.size(); ++i) {
        std::vector<SnapshotStep> steps(snapshotSteps().begin(), snapshotSteps().end());
        steps[i].run = [](SnapshotWork&) { return false; };
        const auto error = writeSnapshot(*frame, path(), steps);
        ASSERT_TRUE(error.has_value()) << i;
        EXPECT_EQ(error->text, messages[i]);
        EXPECT_EQ(error->code, ErrorCode::none);
        EXPECT_EQ(error->domain, "");
    }
    EXPECT_THAT(files(), ::testing::IsEmpty());
}

TEST_F(SnapshotTest, FrameThatIsNotBgraCannotBeWrapped) {
    const auto error = writeSnapshot(*PixelBuffer::create(PixelFormat::nv12, 16, 8), path());
    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(error->text, "CIImage create error");
}

TEST_F(SnapshotTest, UnwritablePathGivesTheFileSystemsError) {
    const auto error = writeSnapshot(*makeTestPicture(16, 9), path("missing/still.png"));
    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(error->domain, "file system");
    EXPECT_EQ(error->text, "No such file or directory");
    EXPECT_NE(error->code, ErrorCode::none);
}

TEST_F(SnapshotTest, FailedWriteLeavesNoPartialFile) {
    ASSERT_TRUE(QDir().mkpath(QString::fromStdString(path("taken"))));
    EXPECT_TRUE(writeSnapshot(*makeTestPicture(16, 9), path("taken")).has_value());
    EXPECT_THAT(files(), ::testing::IsEmpty());
}

TEST_F(SnapshotTest, ReportsAFullDiskAndKeepsTheExistingFile) {
    for (const std::size_t room : {std::size_t(0), std::size_t(100)}) {
        ASSERT_EQ(writeSnapshot(*makeTestPicture(32, 32), path()), std::nullopt);
        const QImage before = load(path());
        std::optional<Error> error;
        {
            const SmallFilesOnly limit(room);
            error = writeSnapshot(*makeTestPicture(64, 48), path());
        }
        ASSERT_TRUE(error.has_value()) << room;
        EXPECT_EQ(error->domain, "file system");
        EXPECT_THAT(error->text, ::testing::HasSubstr("File too large"));
        EXPECT_EQ(load(path()), before);
        EXPECT_EQ(files().size(), 1);
    }
}

TEST_F(SnapshotTest, FileThatIsThereIsReplacedWhole) {
    ASSERT_EQ(writeSnapshot(*makeTestPicture(32, 32), path()), std::nullopt);
    ASSERT_EQ(writeSnapshot(*makeTestPicture(16, 9), path()), std::nullopt);
    EXPECT_EQ(load(path()).size(), QSize(16, 9));
    EXPECT_EQ(files().size(), 1);
}

// Through the renderer

class RendererSnapshotTest : public SnapshotTest {
protected:
    struct Outcome {
        bool success = false;
        Error error;
        bool onRenderQueue = false;
    };

    void draw(const std::shared_ptr<PixelBuffer>& frame) {
        view_.drawPixelBufferWithPresentationTime(frame, MediaTime::fromNanoseconds(1ms));
        settle();
    }
    void settle() {
        view_.renderQueue().sync([] {});
    }
    void snapshot(const std::string& path) {
        view_.screenShotWithFilePathCompletionHandler(path, [this](bool success, const Error& error) {
            outcomes_.push_back({success, error, view_.renderQueue().isCurrent()});
        });
        settle();
    }

    std::vector<Outcome> outcomes_;
    BackendLog log_;
    // Uses the real passes, whose result is saved.
    KTMTKView view_{QRect(), [this](QWindow&, SerialQueue&) {
                        RenderBackend backend;
                        log_.drawable = false;
                        backend.surface = std::make_unique<FakeSurface>(log_);
                        backend.passes = std::make_unique<CpuFramePasses>();
                        return backend;
                    }};
};

TEST_F(RendererSnapshotTest, BeforeTheFirstFrameItDoesNothingAndNeverCallsTheHandler) {
    snapshot(path());
    EXPECT_THAT(outcomes_, ::testing::IsEmpty());
    EXPECT_THAT(files(), ::testing::IsEmpty());
}

TEST_F(RendererSnapshotTest, HandlerIsCalledOnTheRenderQueue) {
    draw(makeTestPicture(64, 48));
    snapshot(path());
    ASSERT_EQ(outcomes_.size(), 1U);
    EXPECT_TRUE(outcomes_[0].success);
    EXPECT_TRUE(outcomes_[0].onRenderQueue);
}

TEST_F(RendererSnapshotTest, HandlerMayBeEmpty) {
    draw(makeTestPicture(64, 48));
    view_.screenShotWithFilePathCompletionHandler(path(), {});
    settle();
    EXPECT_EQ(load(path()).size(), QSize(64, 48));
}

TEST_F(RendererSnapshotTest, WhileThePreviewIsBlackItSavesABlackPictureOfTheLastSize) {
    draw(makeTestPicture(64, 48));
    view_.drawBlack();
    snapshot(path());
    QImage black(64, 48, QImage::Format_RGB32);
    black.fill(Qt::black);
    EXPECT_EQ(load(path()).convertToFormat(QImage::Format_RGB32), black);
}

TEST_F(RendererSnapshotTest, WithTheMirrorOnThePictureIsMirrored) {
    const auto frame = makeTestPicture(64, 48);
    draw(frame);
    snapshot(path("upright.png"));
    view_.setShouldFlipHorizontal(true);
    draw(frame);
    snapshot(path("mirrored.png"));
    ASSERT_EQ(outcomes_.size(), 2U);
    EXPECT_EQ(load(path("mirrored.png")), load(path("upright.png")).mirrored(true, false));
    EXPECT_NE(load(path("mirrored.png")), load(path("upright.png")));
}

TEST_F(RendererSnapshotTest, UnwritablePathGivesFalseWithTheFileSystemsError) {
    draw(makeTestPicture(64, 48));
    snapshot(path("missing/still.png"));
    ASSERT_EQ(outcomes_.size(), 1U);
    EXPECT_FALSE(outcomes_[0].success);
    EXPECT_EQ(outcomes_[0].error.text, "No such file or directory");
}

} // namespace
} // namespace tavelo::testing
