// SPDX-License-Identifier: MIT
#include "probe/json/pack.h"

#include <gmock/gmock.h>

#include "support/camera_records.h"

namespace tavelo {
namespace {

using testing::answered;
using testing::answerIn;
using ::testing::HasSubstr;
using ::testing::Not;
using testing::numberControl;

CameraRecord record() {
    CameraRecord camera;
    camera.program = "1.0.0";
    camera.kernel = "6.1.0-test";
    camera.transport = "kernel";
    camera.node = "/dev/video12";
    camera.product = "Caméra";
    camera.speed = 480;
    camera.controlInterface = 2;
    camera.descriptors.device.assign(18, 0xA5);
    camera.descriptors.configuration = {9, 2, 0, 1, 0xFF};
    camera.controls = {numberControl(5, 2, 2, {-20, 40, 1, 0, -3}), numberControl(7, 255, 3, {})};
    camera.controls[0].source = AnswerSource::driver;
    camera.controls[0].driver = {AnswerKind::answered,
                                 {{0x00980900, "Brightness", INT64_MIN, INT64_MAX, 1, -3, 0xFFFFFFFF}}};
    camera.controls[1].listed = false;
    answerIn(camera.controls[1], UvcRequest::getInfo) = answered({});
    answerIn(camera.controls[1], UvcRequest::getLen) = {AnswerKind::stalled, {}};
    answerIn(camera.controls[1], UvcRequest::getMin) = {AnswerKind::timedOut, {}};
    answerIn(camera.controls[1], UvcRequest::getMax) = {AnswerKind::notAsked, {}};
    answerIn(camera.controls[1], UvcRequest::getRes) = {AnswerKind::skipped, {}};
    answerIn(camera.controls[1], UvcRequest::getDef) = {AnswerKind::failed, {}};
    camera.controls[1].driver.kind = AnswerKind::skipped;
    return camera;
}

std::string replaced(std::string text, const std::string& from, const std::string& to) {
    const auto at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return at == std::string::npos ? text : text.replace(at, from.size(), to);
}

// Why a pack with one change is refused; empty if it is taken.
std::string reasonAgainst(const std::string& from, const std::string& to) {
    Error error;
    const auto read = readPack(replaced(writePack(record()), from, to), error);
    EXPECT_EQ(read.has_value(), error.code == ErrorCode::none);
    EXPECT_THAT(error.text, Not(HasSubstr("\n")));
    return error.text;
}

TEST(Pack, IsReadAsItWasWritten) {
    Error error;
    const auto read = readPack(writePack(record()), error);
    ASSERT_TRUE(read) << error.text;
    EXPECT_EQ(*read, record());
    EXPECT_EQ(writePack(*read), writePack(record()));
}

TEST(Pack, NamesItsFormatAndVersionFirst) {
    EXPECT_TRUE(
        writePack(record()).starts_with("{\n \"format\": \"tavelo camera pack\",\n \"version\": 1,\n"));
}

TEST(Pack, IsPlainAscii) {
    for (const char byte : writePack(record()))
        EXPECT_TRUE(byte == '\n' || (byte >= ' ' && byte < 0x7F));
}

TEST(Pack, NamesNoPathBesidesAVideoNode) {
    CameraRecord camera = record();
    for (const char* path :
         {"/dev/v4l/by-id/usb-Somebody", "/dev/video", "/dev/video1/../x", "video0", "/dev/video123456"}) {
        camera.node = path;
        EXPECT_THAT(writePack(camera), HasSubstr("\"node\": \"\"")) << path;
    }
}

TEST(Pack, MakesTextsPrintable) {
    CameraRecord camera = record();
    camera.product = "a\x1b[31m\xFF\nb\x7F";
    Error error;
    const auto read = readPack(writePack(camera), error);
    ASSERT_TRUE(read) << error.text;
    EXPECT_EQ(read->product, "a [31m\xEF\xBF\xBD b ");
    camera.product.assign(256, '\xFF');
    EXPECT_TRUE(readPack(writePack(camera), error)) << error.text;
}

TEST(Pack, TheReaderRefusesEveryPartOfAPack) {
    const std::string whole = writePack(record());
    for (std::size_t length = 0; length + 2 < whole.size(); length += 7) {
        Error error;
        EXPECT_FALSE(readPack(std::string_view(whole).substr(0, length), error));
        EXPECT_THAT(error.text, HasSubstr("only a part"));
    }
}

TEST(Pack, TheReaderNamesAnotherVersion) {
    EXPECT_EQ(reasonAgainst("\"version\": 1", "\"version\": 2"),
              "it is of version 2, this program reads version 1");
    EXPECT_EQ(reasonAgainst("\"version\": 1", "\"version\": \"1\""), "it names no version");
    EXPECT_EQ(reasonAgainst("\"version\": 1", "\"v\": 1"), "it names no version");
    EXPECT_EQ(reasonAgainst("tavelo camera pack", "something"), "it is no camera pack");
    Error error;
    EXPECT_FALSE(readPack("{}", error));
    EXPECT_FALSE(readPack("[1]", error));
    EXPECT_FALSE(readPack("", error));
}

TEST(Pack, TheReaderNamesWhatIsWrong) {
    EXPECT_THAT(reasonAgainst("\"product\"", "\"other\""), HasSubstr("product: missing"));
    EXPECT_THAT(reasonAgainst("\"speed\": 480", "\"speed\": -1"), HasSubstr("speed: out of range"));
    EXPECT_THAT(reasonAgainst("\"speed\": 480", "\"speed\": 1000001"), HasSubstr("speed: out of range"));
    EXPECT_THAT(reasonAgainst("\"speed\": 480", "\"speed\": 4.5"), HasSubstr("speed: not a whole number"));
    EXPECT_THAT(reasonAgainst("\"speed\": 480", "\"speed\": 18446744073709551615"), HasSubstr("speed: not"));
    EXPECT_THAT(reasonAgainst("\"control_interface\": 2", "\"control_interface\": 256"),
                HasSubstr("control_interface: out of range"));
    EXPECT_THAT(reasonAgainst("\"entity\": 7", "\"entity\": 0"),
                HasSubstr("control 2 of the list: entity: out of range"));
    EXPECT_THAT(reasonAgainst("\"selector\": 255", "\"selector\": 256"), HasSubstr("selector: out of range"));
    EXPECT_THAT(reasonAgainst("\"listed\": true", "\"listed\": 1"), HasSubstr("listed: neither"));
    EXPECT_THAT(reasonAgainst("\"answered_by\": \"driver\"", "\"answered_by\": \"me\""),
                HasSubstr("answered_by"));
    EXPECT_THAT(reasonAgainst("\"GET_CUR\": \"fdff\"", "\"GET_CUR\": \"fdf\""),
                HasSubstr("GET_CUR: neither"));
    EXPECT_THAT(reasonAgainst("\"GET_CUR\": \"fdff\"", "\"GET_CUR\": \"gdff\""),
                HasSubstr("GET_CUR: neither"));
    EXPECT_THAT(reasonAgainst("\"GET_CUR\": \"fdff\"", "\"GET_CUR\": 3"), HasSubstr("GET_CUR: not a text"));
    EXPECT_THAT(reasonAgainst("\"skipped\"\n", "\"asleep\"\n"), HasSubstr("driver: no known outcome"));
    EXPECT_THAT(reasonAgainst("\"id\": 9963776", "\"id\": 4294967296"), HasSubstr("id: out of range"));
    EXPECT_THAT(reasonAgainst("\"/dev/video12\"", "\"/etc/passwd\""), HasSubstr("node: no video node"));
    EXPECT_THAT(reasonAgainst("\"kernel\",", "\"magic\","), HasSubstr("transport: unknown"));
    EXPECT_THAT(reasonAgainst("\"Cam\\u00e9ra\"", "\"Cam\\u001bra\""), HasSubstr("product: not printable"));
    EXPECT_THAT(reasonAgainst("a5a5", "a5z5"), HasSubstr("device_descriptor"));
    EXPECT_THAT(reasonAgainst("a5a5", "a5a5a5"), HasSubstr("device_descriptor: too long"));
    EXPECT_THAT(reasonAgainst("\"entity\": 7,\n   \"selector\": 255", "\"entity\": 5,\n   \"selector\": 2"),
                HasSubstr("control 2 of the list: listed twice"));
}

TEST(Pack, TheReaderIsBounded) {
    Error error;
    EXPECT_FALSE(readPack(std::string(longestPack + 1, ' '), error));
    EXPECT_THAT(error.text, HasSubstr("longer than 4 MiB"));
    EXPECT_FALSE(readPack(std::string(longestPack, '['), error));
    const std::string deep = std::string(100'000, '[') + std::string(100'000, ']');
    EXPECT_THAT(reasonAgainst("\"speed\": 480", "\"speed\": " + deep), HasSubstr("no camera pack"));
    EXPECT_THAT(reasonAgainst("\"Cam\\u00e9ra\"", "\"" + std::string(longestRecordText + 1, 'x') + "\""),
                HasSubstr("product: too long"));
    CameraRecord camera = record();
    camera.controls.clear();
    for (std::size_t i = 0; i <= mostControlRecords; ++i)
        camera.controls.push_back(numberControl(static_cast<std::uint8_t>(1 + i / 250),
                                                static_cast<std::uint8_t>(1 + i % 250), 1, {}));
    EXPECT_FALSE(readPack(writePack(camera), error));
    EXPECT_THAT(error.text, HasSubstr("controls: too long"));
    camera.controls.pop_back();
    EXPECT_TRUE(readPack(writePack(camera), error)) << error.text;
}

TEST(Pack, AnyChangedByteIsReadOrRefused) {
    const std::string whole = writePack(record());
    for (std::size_t at = 0; at < whole.size(); ++at) {
        for (const char byte : {'"', '{', ']', '0', '\\', '\0', '\xFF'}) {
            std::string changed = whole;
            changed[at] = byte;
            Error error;
            const auto read = readPack(changed, error);
            EXPECT_EQ(read.has_value(), error.text.empty());
        }
    }
}

} // namespace
} // namespace tavelo
