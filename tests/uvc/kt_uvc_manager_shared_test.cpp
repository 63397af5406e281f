// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "support/fake_usb.h"
#include "uvc/kt_uvc_manager.h"

namespace tavelo {
namespace {

TEST(SharedManager, IsMadeOnceInTheEnvironmentSetBefore) {
    FakeUsbPlatform platform;
    KTUVCManager::setEnvironment({&platform, nullptr});
    std::vector<KTUVCManager*> seen(4);
    std::vector<std::thread> threads;
    threads.reserve(seen.size());
    for (KTUVCManager*& place : seen)
        threads.emplace_back([&place] { place = &KTUVCManager::sharedManager(); });
    for (std::thread& thread : threads)
        thread.join();

    KTUVCManager& manager = KTUVCManager::sharedManager();
    for (const KTUVCManager* other : seen)
        EXPECT_EQ(other, &manager);
    EXPECT_EQ(manager.whiteBalance()->tag(), 21);
    manager.initProberWithBusProberScopeProberDelegate(2, nullptr);
    EXPECT_EQ(platform.proberLog.scope, 2);
    manager.releasePlatform();
}

} // namespace
} // namespace tavelo
