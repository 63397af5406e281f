// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <random>

#include "descriptor_builder.h"
#include "platform/uvc/descriptors.h"

namespace tavelo::test {
namespace {

// Interesting values for lengths, identifiers and types.
constexpr std::array<std::uint8_t, 12> loadedBytes{0x00, 0x01, 0x02, 0x04, 0x05, 0x06,
                                                   0x09, 0x0E, 0x24, 0x7F, 0x80, 0xFF};

// Checks what must hold for any input.
void expectSane(const Bytes& bytes) {
    const auto device = probeDescriptors(bytes, bytes);
    ASSERT_GE(device.terminalID, -1);
    ASSERT_LE(device.terminalID, 255);
    ASSERT_NE(device.terminalID, 0);
    ASSERT_GE(device.unitID, -1);
    ASSERT_LE(device.unitID, 255);
    ASSERT_NE(device.unitID, 0);
    ASSERT_EQ(device.supportPan, device.supportTilt);
    if (device.terminalID == -1) {
        ASSERT_FALSE(device.supportZoom || device.supportPan || device.supportFocus ||
                     device.supportAutoExposureMode);
    }
    if (device.unitID == -1) {
        ASSERT_FALSE(device.supportBright || device.supportGain || device.supportWhiteBalance);
    }
    const auto controls = videoControlInterfaces(bytes);
    if (controls.empty()) {
        ASSERT_EQ(device.terminalID, -1);
    }
    ASSERT_LE(controls.size(), interfacesOf(bytes).size());
    ASSERT_LE(configurationWithValue(bytes, 1).size(), bytes.size());
}

std::vector<Bytes> seeds() {
    return {ordinaryCamera(),
            configuration({videoControl(0), header(0x0150), cameraTerminal(1, {0xFF, 0xFF, 0xFF}),
                           selectorUnit(2, {1, 3}), extensionUnit(3, 2),
                           processingUnit(4, 3, {0xFF, 0xFF, 0x07}, {0, 0}), videoControl(2),
                           cameraTerminal(9, {1}), processingUnit(8, 9, {1})}),
            join({configuration({videoControl(0), cameraTerminal(1, {0xFF})}),
                  configuration({videoControl(1)}, 2)})};
}

TEST(UvcDescriptorMutations, EveryByteReplacedByEveryLoadedValue) {
    for (const Bytes& seed : seeds()) {
        for (std::size_t at = 0; at < seed.size(); ++at) {
            for (const std::uint8_t value : loadedBytes) {
                Bytes bytes = seed;
                bytes[at] = value;
                expectSane(bytes);
            }
        }
    }
}

TEST(UvcDescriptorMutations, ChangedInSeveralPlacesCutAndGrown) {
    const std::vector<Bytes> all = seeds();
    std::mt19937 random(
        20240229); // NOLINT(bugprone-random-generator-seed): fixed seed: the same mutants in every run
    const auto below = [&](std::size_t limit) { return std::size_t(random()) % limit; };
    for (int round = 0; round < 20000; ++round) {
        Bytes bytes = all[below(all.size())];
        for (std::size_t changes = 1 + below(6); changes > 0; --changes) {
            const std::size_t at = below(bytes.size());
            switch (below(4)) {
                case 0:
                    bytes[at] = static_cast<std::uint8_t>(random());
                    break;
                case 1:
                    bytes[at] = loadedBytes[below(loadedBytes.size())];
                    break;
                case 2:
                    bytes.insert(bytes.begin() + std::ptrdiff_t(at), static_cast<std::uint8_t>(random()));
                    break;
                default:
                    bytes.resize(std::max<std::size_t>(at, 1));
                    break;
            }
        }
        bytes.shrink_to_fit();
        expectSane(bytes);
    }
}

// As many units as fit into a configuration, in layouts that would make a naive walk slow.
TEST(UvcDescriptorMutations, ThousandsOfUnitsAreReadInReasonableTime) {
    Bytes chain; // backwards, so that a walk in byte order finds one unit per pass
    for (std::uint8_t id = 240; id >= 2; --id) {
        const Bytes unit = selectorUnit(id, Bytes(240, static_cast<std::uint8_t>(id - 1)));
        chain.insert(chain.end(), unit.begin(), unit.end());
    }
    Bytes orphans;
    while (orphans.size() < 60000) {
        const Bytes unit = processingUnit(250, 249, {1});
        orphans.insert(orphans.end(), unit.begin(), unit.end());
    }
    const auto start = std::chrono::steady_clock::now();
    const Bytes chained =
        configuration({videoControl(0), cameraTerminal(1, {1}), chain, processingUnit(252, 240, {1})});
    expectSane(chained);
    EXPECT_EQ(probeDescriptors({}, chained).unitID, 252);
    expectSane(configuration({videoControl(0), cameraTerminal(1, {1}), orphans, chain}));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
}

} // namespace
} // namespace tavelo::test
