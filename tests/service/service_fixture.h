// SPDX-License-Identifier: MIT
// The service on a session bus, with in-process virtual cameras, and a client of it.
#pragma once

#include <gmock/gmock.h>

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QSignalSpy>
#include <QTest>
#include <QThreadPool>
#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <memory>
#include <utility>
#include <vector>

#include "commands/control_catalog.h"
#include "extensions/json/description_folders.h"
#include "platform/virtual/backend.h"
#include "process/qt_main_queue.h"
#include "service/bus_adaptor.h"
#include "service/bus_names.h"
#include "service/fake_panel_host.h"
#include "support/intercepted_usb.h"
#include "support/memory_preferences_store.h"

namespace tavelo {

/// Notes the signals of the service as texts: "ControlChanged 0x7e... brightness 5".
class RecordedSignals final : public QObject {
    Q_OBJECT

public:
    QStringList lines;

public Q_SLOTS:
    void note(const QDBusMessage& message) {
        QString line = message.member();
        for (const QVariant& each : message.arguments()) {
            const bool isVariant = each.canConvert<QDBusVariant>();
            line += QLatin1Char(' ') + (isVariant ? each.value<QDBusVariant>().variant() : each).toString();
        }
        lines.append(line);
    }
};

class ServiceTest : public ::testing::Test {
protected:
    ServiceTest() {
        manager_.initProberWithBusProberScopeProberDelegate(2, nullptr);
        adaptor_->setService(*service_);
        EXPECT_TRUE(bus_.registerObject(bus_names::object, &object_));
        EXPECT_TRUE(client_.connect(bus_.baseService(), bus_names::object, bus_names::interface, QString(),
                                    &signals_, SLOT(note(QDBusMessage))));
    }

    ~ServiceTest() override {
        QThreadPool::globalInstance()->waitForDone();
        service_.reset();
        QDBusConnection::disconnectFromBus(QStringLiteral("service"));
        QDBusConnection::disconnectFromBus(QStringLiteral("client"));
    }

    template <typename Condition>
    [[nodiscard]] static bool waitFor(Condition condition) {
        return QTest::qWaitFor(condition, 20'000); // ms; sanitizers are slow
    }

    QDBusPendingCall begin(const char* method, const QVariantList& arguments = {}) {
        QDBusMessage message = QDBusMessage::createMethodCall(
            bus_.baseService(), bus_names::object, bus_names::interface, QString::fromUtf8(method));
        message.setArguments(arguments);
        return client_.asyncCall(message);
    }

    /// The answer, or the error.
    QDBusMessage call(const char* method, const QVariantList& arguments = {}) {
        const QDBusPendingCallWatcher pending(begin(method, arguments));
        // Wakes at once; waitFor() looks again every 10 ms.
        QSignalSpy answered(&pending, &QDBusPendingCallWatcher::finished);
        EXPECT_TRUE(pending.isFinished() || answered.wait(20'000)) << method; // ms; sanitizers are slow
        return pending.reply();
    }

    /// The name of a call's error after the last dot, or "" for a success, and its text.
    std::string errorOf(const QDBusMessage& answer) {
        if (answer.type() == QDBusMessage::ReplyMessage) return "";
        const QString prefix = bus_names::errorPrefix;
        EXPECT_FALSE(answer.errorMessage().isEmpty());
        EXPECT_FALSE(answer.errorMessage().contains(QLatin1Char('\n')));
        QString name = answer.errorName();
        if (name.startsWith(prefix)) name.remove(0, prefix.size());
        return (name + QStringLiteral(": ") + answer.errorMessage()).toStdString();
    }
    std::string errorOf(const char* method, const QVariantList& arguments = {}) {
        return errorOf(call(method, arguments));
    }

    QVariant value(const QString& camera, const char* control) {
        const QDBusMessage answer = call("Get", {camera, QString::fromUtf8(control)});
        EXPECT_EQ(errorOf(answer), "");
        return answer.arguments().isEmpty() ? QVariant()
                                            : answer.arguments().front().value<QDBusVariant>().variant();
    }

    std::shared_ptr<CaptureDevice> device(std::size_t number) {
        return backend_.capture->devicesWithMediaType(MediaType::video).at(number - 1);
    }
    QString identifier(std::size_t number) { return QString::fromStdString(device(number)->uniqueID()); }
    std::shared_ptr<VirtualCameraFirmware> camera(int number) { return backend_.bus->camera(number); }

    /// As the panel shows a camera.
    void show(std::size_t number) {
        host_.shown = device(number);
        ASSERT_TRUE(manager_.refreshDataWithUniqueIDString(host_.shown->uniqueID()));
    }

    static QVariantMap one(const char* name, const QVariant& value) {
        return {{QString::fromUtf8(name), value}};
    }

    QtMainQueue mainQueue_;
    VirtualBackend backend_ = makeVirtualBackend(2, {}, mainQueue_);
    MemoryPreferencesStore store_{mainQueue_};
    std::atomic<std::chrono::steady_clock::time_point> now_ = std::chrono::steady_clock::now();
    testing::InterceptedUsb usb_{std::move(backend_.usb)};
    KTUVCManager manager_{{&usb_, nullptr, [this] { return now_.load(); }}};
    FakePanelHost host_{manager_};
    ControlCatalog catalog_{readDescriptions(std::array<std::filesystem::path, 1>{DESCRIPTIONS_FOLDER},
                                             isClassControl,
                                             [](const std::string& line) { FAIL() << line; })};
    QDBusConnection bus_ =
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("service"));
    QDBusConnection client_ =
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("client"));
    QObject object_;
    BusAdaptor* adaptor_ = new BusAdaptor(object_, bus_);
    std::unique_ptr<ControlPanelService> service_ = std::make_unique<ControlPanelService>(
        ServiceParts{*backend_.capture, &usb_, store_, host_, catalog_});
    RecordedSignals signals_;
};

} // namespace tavelo
