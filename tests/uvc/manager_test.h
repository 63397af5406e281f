// SPDX-License-Identifier: MIT
// A manager on a fake bus with one camera that has every control.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "support/fake_usb.h"
#include "uvc/control_table.h"
#include "uvc/kt_uvc_manager.h"

namespace tavelo {

inline std::vector<std::uint8_t> littleEndian(std::int64_t value, std::int32_t size) {
    std::vector<std::uint8_t> bytes;
    bytes.reserve(static_cast<std::size_t>(size));
    for (std::int32_t i = 0; i < size; ++i)
        bytes.push_back(static_cast<std::uint8_t>(static_cast<std::uint64_t>(value) >> (8 * i)));
    return bytes;
}

inline void expectUnsupported(const KTUVCParameters& record) {
    EXPECT_FALSE(record.supported()) << record.description();
    for (const std::int64_t number :
         {record.min(), record.max(), record.val(), record.def(), std::int64_t{record.actualSize()}})
        EXPECT_EQ(number, -1) << record.description();
}

class ManagerTest : public ::testing::Test {
protected:
    static constexpr std::uint32_t location = 0x14200000;
    static constexpr const char* uniqueID = "0x142000001bcf2b90";
    static constexpr std::uint8_t terminal = 3;
    static constexpr std::uint8_t unit = 5;
    static constexpr std::uint8_t interfaceNumber = 2;

    static BusProberDevice everyControl() {
        BusProberDevice record;
        record.locationID = location;
        record.terminalID = terminal;
        record.unitID = unit;
        record.vendorID = 0x1BCF;
        record.productID = 0x2B90;
        for (const ControlRow& row : controlTable()) {
            record.*row.supportFlag = true;
            if (row.secondSupportFlag != nullptr) record.*row.secondSupportFlag = true;
        }
        return record;
    }

    static std::uint8_t entityOf(const ControlRow& row) { return row.unit == 1 ? terminal : unit; }

    static FakeUvcControl answers(std::int64_t cur, std::int64_t min, std::int64_t max, std::int64_t def,
                                  std::int32_t size) {
        return {littleEndian(cur, size), littleEndian(min, size), littleEndian(max, size),
                littleEndian(def, size)};
    }

    void script(KTUVCControl control, const FakeUvcControl& answer) {
        const ControlRow& row = controlRow(control);
        camera->setControl(entityOf(row), static_cast<std::uint8_t>(row.selector), answer);
    }

    void script(KTUVCControl control, std::int64_t cur, std::int64_t def) {
        script(control, answers(cur, 0, 100, def, controlRow(control).intendedSize));
    }

    void fail(KTUVCControl control, std::uint8_t code, ErrorCode status = ErrorCode::refused) {
        const ControlRow& row = controlRow(control);
        camera->setFailure(entityOf(row), static_cast<std::uint8_t>(row.selector), code, status);
    }

    void take(KTUVCControl control, std::vector<std::uint8_t> bytes) {
        const ControlRow& row = controlRow(control);
        camera->setTaken(entityOf(row), static_cast<std::uint8_t>(row.selector), std::move(bytes));
    }

    void SetUp() override {
        for (const ControlRow& row : controlTable())
            script(row.control, 1, 50);
        device = platform.plugIn(everyControl(), camera);
        manager =
            std::make_unique<KTUVCManager>(KTUVCEnvironment{&platform, nullptr, [this] { return now; }});
        manager->initProberWithBusProberScopeProberDelegate(2, nullptr);
    }

    /// Binds to the camera and clears the request log.
    void bind() {
        ASSERT_TRUE(manager->refreshDataWithUniqueIDString(uniqueID));
        camera->forgetRequests();
    }

    /// Replaces the prober's record of the camera.
    void setRecord(const BusProberDevice& record) {
        platform.records = {std::make_shared<BusProberDevice>(record)};
        manager->prober()->refreshData(false);
    }

    KTUVCParameters& record(KTUVCControl control) { return *manager->record(control); }

    /// The write request for a value of a control.
    static FakeUsbRequest writeOf(KTUVCControl control, std::vector<std::uint8_t> bytes) {
        const ControlRow& row = controlRow(control);
        return {0x21,
                0x01,
                static_cast<std::uint16_t>(row.selector << 8),
                static_cast<std::uint16_t>(entityOf(row) << 8 | interfaceNumber),
                static_cast<std::uint16_t>(bytes.size()),
                std::move(bytes)};
    }

    std::chrono::steady_clock::time_point now{std::chrono::hours(1)};
    FakeUsbPlatform platform;
    std::shared_ptr<FakeUvcCamera> camera = std::make_shared<FakeUvcCamera>(interfaceNumber);
    std::shared_ptr<FakeUsbDevice> device;
    std::unique_ptr<KTUVCManager> manager;
};

/// A completion handler that counts its calls.
struct Completion {
    int calls = 0;
    bool success = false;

    ComplitionHandle handle() {
        return [this](bool taken) {
            ++calls;
            success = taken;
        };
    }
};

/// Two cameras with different interface numbers and entity identifiers.
class TwoCamerasTest : public ManagerTest {
protected:
    static constexpr std::uint8_t otherTerminal = 30;
    static constexpr std::uint8_t otherUnit = 50;
    static constexpr std::uint8_t otherNumber = 20;
    static constexpr const char* otherID = "0x143000001bcf2b90";

    void SetUp() override {
        ManagerTest::SetUp();
        BusProberDevice record = everyControl();
        record.locationID = 0x14300000;
        record.terminalID = otherTerminal;
        record.unitID = otherUnit;
        platform.plugIn(record, other);
        manager->prober()->refreshData(false);
        for (const ControlRow& row : controlTable()) {
            other->setControl(row.unit == 1 ? otherTerminal : otherUnit,
                              static_cast<std::uint8_t>(row.selector),
                              answers(2, 0, 100, 60, row.intendedSize));
        }
    }

    std::shared_ptr<FakeUvcCamera> other = std::make_shared<FakeUvcCamera>(otherNumber);
};

} // namespace tavelo
