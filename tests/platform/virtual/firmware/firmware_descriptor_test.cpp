// SPDX-License-Identifier: MIT
#include <array>
#include <set>
#include <span>
#include <string>

#include <gmock/gmock.h>

#include "firmware_client.h"

namespace tavelo {
namespace {

using ::testing::_;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using Bytes = std::vector<std::uint8_t>;

std::vector<Bytes> split(std::span<const std::uint8_t> bytes) {
    std::vector<Bytes> parts;
    while (!bytes.empty()) {
        const std::size_t length = bytes[0];
        if (length < 2 || length > bytes.size()) {
            ADD_FAILURE() << "descriptor of " << length << " bytes where " << bytes.size() << " are left";
            break;
        }
        parts.emplace_back(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length));
        bytes = bytes.subspan(length);
    }
    return parts;
}

std::vector<Bytes> ofType(const std::vector<Bytes>& parts, std::uint8_t type, int subtype = -1) {
    std::vector<Bytes> found;
    for (const Bytes& part : parts)
        if (part[1] == type && (subtype < 0 || part[2] == subtype)) found.push_back(part);
    return found;
}

std::size_t word(const Bytes& bytes, std::size_t at) {
    return littleEndian(std::span(bytes).subspan(at, 2));
}

class DescriptorTest : public ::testing::TestWithParam<StreamTransport> {
protected:
    static VirtualCameraModel model() {
        VirtualCameraModel made = virtualCameraModel(1);
        made.transport = GetParam();
        return made;
    }

    VirtualCameraFirmware firmware{model()};
    const std::vector<Bytes> parts = split(firmware.configurationDescriptor());
};

TEST_P(DescriptorTest, deviceIsAHighSpeedDeviceOfSeveralFunctions) {
    EXPECT_THAT(firmware.deviceDescriptor(), ElementsAre(18, 1, 0x00, 0x02, 0xEF, 2, 1, 64, 0x09, 0x12, 0x01,
                                                         0x00, 0x00, 0x01, 1, 2, 3, 1));
}

TEST_P(DescriptorTest, configurationIsBusPoweredAndHasTwoInterfaces) {
    EXPECT_THAT(parts[0], ElementsAre(9, 2, _, _, 2, 1, 0, 0x80, 250));
}

TEST_P(DescriptorTest, totalLengthsAreThoseOfTheirParts) {
    EXPECT_EQ(word(parts[0], 2), firmware.configurationDescriptor().size());
    std::size_t control = 0;
    std::size_t streaming = 0;
    bool inStreaming = false;
    for (const Bytes& part : parts) {
        if (part[1] == 4) inStreaming = part[2] == 1;
        if (part[1] == 0x24) (inStreaming ? streaming : control) += part.size();
    }
    EXPECT_EQ(word(ofType(parts, 0x24, 1)[0], 5), control);
    EXPECT_EQ(word(ofType(parts, 0x24, 1)[1], 4), streaming);
}

TEST_P(DescriptorTest, associationBindsControlAndStreaming) {
    EXPECT_THAT(ofType(parts, 0x0B), ElementsAre(ElementsAre(8, 0x0B, 0, 2, 14, 3, 0, 0)));
}

TEST_P(DescriptorTest, cameraTerminalAndProcessingUnitListEveryControl) {
    const Bytes terminal = ofType(parts, 0x24, 2)[0];
    ASSERT_EQ(terminal.size(), 18U);
    EXPECT_EQ(terminal[3], firmware.model().terminalID);
    EXPECT_EQ(word(terminal, 4), 0x0201U);
    EXPECT_EQ(terminal[14], 3);
    // scanning, exposure mode, priority, time, relative time, focus, iris, zoom, pan/tilt, roll, automatic
    // focus
    EXPECT_EQ(littleEndian(std::span(terminal).subspan(15, 3)), 0x22ABFU);

    // Subtype 5 is a frame in the streaming interface as well.
    const Bytes unit = ofType(parts, 0x24, 5)[0];
    ASSERT_EQ(unit.size(), 12U);
    EXPECT_EQ(unit[3], firmware.model().unitID);
    EXPECT_EQ(unit[4], firmware.model().terminalID);
    EXPECT_EQ(unit[7], 2);
    EXPECT_EQ(word(unit, 8), 0x1F7FU);

    const Bytes output = ofType(parts, 0x24, 3)[0];
    EXPECT_EQ(output[7], firmware.model().unitID);
}

TEST_P(DescriptorTest, formatsHoldTheirFramesInOrder) {
    std::set<std::string> sizes;
    std::size_t announced = 0;
    std::size_t counted = 0;
    char format = 0;
    bool inStreaming = false;
    for (const Bytes& part : parts) {
        if (part[1] == 4) inStreaming = part[2] == 1;
        if (!inStreaming || part[1] != 0x24) continue;
        if (part[2] == 4 || part[2] == 6) {
            EXPECT_EQ(counted, announced);
            announced = part[4];
            counted = 0;
            format = part[2] == 4 ? 'Y' : 'M';
            EXPECT_GE(part[part[2] == 4 ? 22 : 6], 1) << "default frame";
        }
        if (part[2] == 5 || part[2] == 7) {
            ++counted;
            EXPECT_EQ(part[3], counted);
            EXPECT_EQ(part.size(), 26U + 4U * part[25]);
            sizes.insert(format + std::to_string(word(part, 5)) + "x" + std::to_string(word(part, 7)));
        }
    }
    EXPECT_EQ(counted, announced);
    EXPECT_THAT(sizes, ElementsAre("M1280x720", "M1920x1080", "M320x240", "M640x480", "Y1280x720", "Y320x240",
                                   "Y640x480"));
}

TEST_P(DescriptorTest, endpointsFitTheTransport) {
    const std::vector<Bytes> endpoints = ofType(parts, 5);
    if (GetParam() == StreamTransport::bulk) {
        EXPECT_THAT(endpoints, ElementsAre(ElementsAre(7, 5, 0x81, 2, 0x00, 0x02, 0)));
        EXPECT_EQ(ofType(parts, 4).size(), 2U);
        return;
    }
    EXPECT_EQ(ofType(parts, 4).size(), 7U) << "the control interface, and six settings of the streaming one";
    std::vector<std::uint32_t> bytes;
    for (const Bytes& endpoint : endpoints) {
        EXPECT_EQ(endpoint[2], 0x81);
        EXPECT_EQ(endpoint[3] & 3, 1) << "isochronous";
        bytes.push_back(bytesPerMicroframe(static_cast<std::uint16_t>(word(endpoint, 4))));
    }
    EXPECT_THAT(bytes, ElementsAre(192, 512, 1024, 2048, 3072));
}

TEST_P(DescriptorTest, deliversDescriptorsOnRequest) {
    const auto ask = [&](std::uint16_t value, std::uint16_t length) {
        return firmware.control({0x80, uvc::getDescriptor, value, 0, length}, {});
    };
    EXPECT_THAT(ask(0x0100, 64).data, ElementsAreArray(firmware.deviceDescriptor()));
    EXPECT_THAT(ask(0x0200, 0xFFFF).data, ElementsAreArray(firmware.configurationDescriptor()));
    EXPECT_EQ(ask(0x0200, 9).data.size(), 9U);
    EXPECT_THAT(ask(0x0300, 255).data, ElementsAre(4, 3, 0x09, 0x04));
    const Bytes product = ask(0x0302, 255).data;
    ASSERT_EQ(product.size(), 2 + 2 * firmware.model().product.size());
    std::string text;
    for (std::size_t i = 2; i < product.size(); i += 2)
        text += static_cast<char>(product[i]);
    EXPECT_EQ(text, "Tavelo Virtual Camera 1");
    EXPECT_EQ(ask(0x0304, 255).kind, UsbReplyKind::stall);
    EXPECT_EQ(ask(0x0600, 10).kind, UsbReplyKind::stall) << "there is no other speed";
    EXPECT_EQ(ask(0x0201, 9).kind, UsbReplyKind::stall);
}

INSTANTIATE_TEST_SUITE_P(Transport, DescriptorTest,
                         ::testing::Values(StreamTransport::isochronous, StreamTransport::bulk),
                         [](const auto& row) {
                             return row.param == StreamTransport::bulk ? std::string("bulk")
                                                                       : std::string("isochronous");
                         });

TEST(VirtualCameraModelTest, noTwoCamerasShareALocationASerialNumberOrEntities) {
    std::set<std::uint32_t> locations;
    std::set<std::string> serials;
    std::set<int> entities;
    for (int number = 1; number <= 60; ++number) {
        const VirtualCameraModel model = virtualCameraModel(number);
        locations.insert(model.locationID);
        serials.insert(model.serial);
        entities.insert({model.terminalID, model.unitID, model.outputTerminalID, model.extensionUnitID});
        EXPECT_EQ(model.number, number);
    }
    EXPECT_EQ(locations.size(), 60U);
    EXPECT_EQ(serials.size(), 60U);
    EXPECT_EQ(entities.size(), 240U);
    EXPECT_FALSE(entities.contains(0));
    EXPECT_FALSE(entities.contains(1)) << "a host that takes identifiers for granted is found out";
    EXPECT_FALSE(entities.contains(2));
}

TEST(VirtualCameraModelTest, extensionUnitIsThereIfItHasAnIdentifier) {
    VirtualCameraModel model = virtualCameraModel(1);
    for (const std::uint8_t identifier : std::to_array<std::uint8_t>({0, 1, 9})) {
        model.extensionUnitID = identifier;
        const auto parts = split(VirtualCameraFirmware(model).configurationDescriptor());
        // A format of the stream has the same number.
        EXPECT_EQ(ofType(parts, 0x24, 6).size(), identifier == 0 ? 1U : 2U) << int(identifier);
    }
}

TEST(VirtualCameraModelTest, oneCameraMayHaveBrokenDescriptors) {
    VirtualCameraModel model = virtualCameraModel(1);
    model.alterConfiguration = [](Bytes& bytes) { bytes.resize(20); };
    const VirtualCameraFirmware firmware(model);
    EXPECT_EQ(firmware.configurationDescriptor().size(), 20U);
}

} // namespace
} // namespace tavelo
