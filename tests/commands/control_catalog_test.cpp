// SPDX-License-Identifier: MIT
#include "commands/control_catalog.h"

#include <gmock/gmock.h>

#include "described_controls.h"

namespace tavelo {
namespace {

using ::testing::ElementsAre;

constexpr Guid otherGuid{1, 2, 3};

BusProberDevice cameraWith(std::initializer_list<Guid> units, std::bitset<256> selectors = 0b1110) {
    BusProberDevice camera;
    for (const Guid& guid : units)
        camera.extensionUnits.push_back(
            {static_cast<std::uint8_t>(camera.extensionUnits.size() + 7), guid, selectors});
    return camera;
}

std::vector<std::string> unitNames(const ControlCatalog& catalog, const BusProberDevice* camera) {
    std::vector<std::string> names;
    for (const NamedControl* each : catalog.controlsOf(camera))
        if (each->extension != nullptr) names.emplace_back(each->name);
    return names;
}

TEST(ControlCatalog, WithoutDescriptionsItHasTheClassesControls) {
    const ControlCatalog catalog;
    EXPECT_EQ(catalog.find("brightness", nullptr), controlNamed("brightness"));
    EXPECT_EQ(catalog.find("lamp-mode", nullptr), nullptr);
    EXPECT_EQ(catalog.find("", nullptr), nullptr);
    const BusProberDevice camera = cameraWith({virtualUnitGuid});
    EXPECT_EQ(catalog.controlsOf(&camera).size(), namedControls().size());
}

TEST(ControlCatalog, FindsADescribedControlWithItsWords) {
    const ControlCatalog catalog(describedControls());
    const NamedControl* lamp = catalog.find("Lamp_Mode", nullptr);
    ASSERT_NE(lamp, nullptr);
    EXPECT_EQ(lamp->name, "lamp-mode");
    EXPECT_FALSE(lamp->control);
    ASSERT_NE(lamp->extension, nullptr);
    EXPECT_EQ(valueText(*lamp, 2), "blink");
    EXPECT_EQ(valueText(*lamp, 7), "7");
    EXPECT_FALSE(isSwitch(*lamp));
    const NamedControl& hdr = *catalog.find("hdr", nullptr);
    EXPECT_TRUE(isSwitch(hdr));
    EXPECT_EQ(valueText(hdr, 1), "on");
    EXPECT_TRUE(catalog.find("warmth", nullptr)->words.empty());
    EXPECT_EQ(catalog.find("brightness", nullptr), controlNamed("brightness"));
}

TEST(ControlCatalog, ACameraHasTheControlsOfItsUnitsOnly) {
    const ControlCatalog catalog(describedControls());
    const BusProberDevice camera = cameraWith({otherGuid, virtualUnitGuid});
    EXPECT_THAT(unitNames(catalog, &camera), ElementsAre("lamp-mode", "lamp-frequency", "hdr", "warmth"));
    const BusProberDevice lampOnly = cameraWith({virtualUnitGuid}, 0b0010);
    EXPECT_THAT(unitNames(catalog, &lampOnly), ElementsAre("lamp-mode", "lamp-frequency"));
    const BusProberDevice other = cameraWith({otherGuid});
    EXPECT_THAT(unitNames(catalog, &other), ElementsAre());
    EXPECT_THAT(unitNames(catalog, nullptr), ElementsAre());
    EXPECT_EQ(unitOf(&camera, describedControls()[0])->id, 8);
}

TEST(ControlCatalog, TheCameraDecidesWhichUnitsControlANameMeans) {
    auto controls = describedControls();
    ExtensionControl other = describedChoice("lamp-mode", 2, 1, {"dark", "bright"});
    other.unit = otherGuid;
    controls.push_back(other);
    const ControlCatalog catalog(controls);
    EXPECT_TRUE(catalog.needsCamera("lamp_mode"));
    EXPECT_FALSE(catalog.needsCamera("hdr"));
    EXPECT_FALSE(catalog.needsCamera("brightness"));
    EXPECT_FALSE(catalog.needsCamera("nothing"));

    const BusProberDevice first = cameraWith({virtualUnitGuid});
    const BusProberDevice second = cameraWith({otherGuid});
    EXPECT_EQ(catalog.find("lamp-mode", &first)->extension->unit, virtualUnitGuid);
    EXPECT_EQ(catalog.find("lamp-mode", &second)->extension->unit, otherGuid);
    EXPECT_EQ(catalog.find("lamp-mode", nullptr)->extension->unit, virtualUnitGuid) << "the first one";
    EXPECT_THAT(unitNames(catalog, &second), ElementsAre("lamp-mode"));
    const BusProberDevice both = cameraWith({otherGuid, virtualUnitGuid});
    EXPECT_THAT(unitNames(catalog, &both), ElementsAre("lamp-mode", "lamp-frequency", "hdr", "warmth"))
        << "no name twice";
}

} // namespace
} // namespace tavelo
