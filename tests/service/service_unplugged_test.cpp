// SPDX-License-Identifier: MIT
// A camera that is pulled out during a call.
#include "profiles/camera_settings.h"
#include "service/service_fixture.h"

namespace tavelo {
namespace {

using ::testing::StartsWith;

struct Method {
    const char* name;
    QVariantList arguments; // after the camera
};

class ServiceUnplugged : public ServiceTest, public ::testing::WithParamInterface<Method> {
protected:
    std::string callIt() {
        return errorOf(GetParam().name, QVariantList{QStringLiteral("2")} + GetParam().arguments);
    }
    void vanishAt(std::size_t request) {
        usb_.setHooks({.before = [this, request](const UsbControlRequest& /*asked*/, std::size_t number) {
            if (number == request) backend_.bus->unplug(2);
        }});
    }
};

TEST_P(ServiceUnplugged, IsNoSuchCameraWhicheverRequestIsTheFirstWithoutAnAnswer) {
    const std::string key = camera_settings::keyForCamera(device(2)->uniqueID());
    camera(2)->setControlValue(control::brightness, 21);
    EXPECT_EQ(errorOf("Save", {QStringLiteral("2"), 1U}), "");
    usb_.setHooks({});
    EXPECT_EQ(callIt(), "");
    const std::size_t requests = usb_.requests();
    ASSERT_GT(requests, 0U);
    const auto stored = store_.objectForKey(key);
    for (std::size_t number = 1; number <= requests; ++number) {
        SCOPED_TRACE("request " + std::to_string(number) + " of " + std::to_string(requests));
        vanishAt(number);
        EXPECT_THAT(callIt(), StartsWith("NoSuchCamera: "));
        EXPECT_EQ(store_.objectForKey(key), stored);
        usb_.setHooks({});
        backend_.bus->plug(virtualCameraModel(2));
    }
    EXPECT_EQ(callIt(), "");
}

INSTANTIATE_TEST_SUITE_P(
    Each, ServiceUnplugged,
    ::testing::Values(Method{"Get", {QStringLiteral("zoom")}},
                      Method{"Set", {QVariantMap{{QStringLiteral("zoom"), 200}}, QVariantMap()}},
                      Method{"Controls", {}}, Method{"Reset", {}}, Method{"Apply", {1U}},
                      Method{"Save", {2U}}),
    [](const auto& method) { return std::string(method.param.name); });

} // namespace
} // namespace tavelo
