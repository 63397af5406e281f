// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <filesystem>

#include "platform/virtual/firmware/virtual_unit.h"
#include "probe/json/pack.h"
#include "taveloctl_fixture.h"

namespace tavelo {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

class ProbeVerbTest : public TaveloctlTest {
protected:
    ProbeVerbTest() { plug(1); }

    std::optional<CameraRecord> pack(const std::string& path) {
        Error error;
        auto record = readPack(read(path), error);
        EXPECT_TRUE(record) << error.text;
        return record;
    }
};

TEST_F(ProbeVerbTest, PrintsAReport) {
    const std::string text = output({"probe"});
    EXPECT_THAT(text, StartsWith("Tavelo Virtual Camera 1\n"));
    EXPECT_THAT(text, HasSubstr("\nNo disagreements\n"));
}

TEST_F(ProbeVerbTest, PrintsJsonInOneLine) {
    const std::string text = output({"--json", "probe"});
    EXPECT_EQ(text.find('\n'), text.size() - 1);
    const QJsonObject report = QJsonDocument::fromJson(QByteArray::fromStdString(text)).object();
    EXPECT_EQ(report.value(QStringLiteral("version")).toInt(), 1);
    EXPECT_EQ(report.value(QStringLiteral("transport")).toString(), QStringLiteral("virtual"));
    EXPECT_EQ(report.value(QStringLiteral("controls")).toArray().size(),
              static_cast<int>(firmwareControls().size() + VirtualUnit::controlCount));
}

TEST_F(ProbeVerbTest, WritesAPackBesidesTheReport) {
    const std::string path = file("camera.json");
    EXPECT_THAT(output({"probe", "--pack", path}), StartsWith("Tavelo Virtual Camera 1\n"));
    const auto record = pack(path);
    ASSERT_TRUE(record);
    EXPECT_EQ(record->product, "Tavelo Virtual Camera 1");
    EXPECT_EQ(record->program, TAVELO_VERSION);
    EXPECT_FALSE(record->kernel.empty());
    EXPECT_EQ(record->controls.size(), firmwareControls().size() + VirtualUnit::controlCount);
}

TEST_F(ProbeVerbTest, ReplacesAnOldPackThroughALink) {
    write(file("old.json"), "something else");
    std::filesystem::create_symlink("old.json", file("link.json"));
    output({"probe", "--pack", file("link.json")});
    EXPECT_TRUE(std::filesystem::is_symlink(file("link.json")));
    EXPECT_TRUE(pack(file("old.json")));
}

TEST_F(ProbeVerbTest, NamesTheFileThatCannotBeWritten) {
    EXPECT_THAT(failure({"probe", "--pack", file("no/such/folder.json")}),
                HasSubstr("1: " + file("no/such/folder.json") + ": "));
}

TEST_F(ProbeVerbTest, WritesNothingToTheCamera) {
    camera(1)->clearRequestLog();
    output({"probe"});
    EXPECT_FALSE(camera(1)->requestLog().empty());
    for (const RequestRecord& request : camera(1)->requestLog())
        EXPECT_NE(request.setup.bmRequestType & uvc::directionIn, 0);
}

TEST_F(ProbeVerbTest, ReportsASilentCamera) {
    FirmwareFault silence;
    silence.kind = FaultKind::silence;
    camera(1)->order(silence);
    const std::string text = output({"probe"});
    EXPECT_THAT(text, HasSubstr("scanning mode: GET_INFO is not answered\n"));
    EXPECT_THAT(text, HasSubstr("entity 5: the camera was silent, the rest was not asked\n"));
}

TEST_F(ProbeVerbTest, ProbesTheChosenCamera) {
    plug(2);
    EXPECT_THAT(output({"-c", "2", "probe"}), StartsWith("Tavelo Virtual Camera 2\n"));
    EXPECT_THAT(failure({"probe"}), StartsWith("2: "));
    camera(1)->vanish();
    camera(2)->vanish();
    EXPECT_THAT(failure({"probe"}), StartsWith("3: "));
}

} // namespace
} // namespace tavelo
