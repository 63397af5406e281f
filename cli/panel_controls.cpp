// SPDX-License-Identifier: MIT
#include "cli/panel_controls.h"

#include <QDBusArgument>
#include <QDBusVariant>
#include <QJsonObject>
#include <algorithm>
#include <array>
#include <utility>

#include "cli/running_panel.h"

namespace tavelo {
namespace {

/// The names of Controls, and those of --json.
struct Field {
    QLatin1String onTheBus;
    QLatin1String inJson;
};

constexpr std::array fields{
    Field{QLatin1String("Name"), QLatin1String("name")},
    Field{QLatin1String("Value"), QLatin1String("value")},
    Field{QLatin1String("Default"), QLatin1String("default")},
    Field{QLatin1String("Minimum"), QLatin1String("minimum")},
    Field{QLatin1String("Maximum"), QLatin1String("maximum")},
    Field{QLatin1String("Step"), QLatin1String("step")},
    Field{QLatin1String("Unit"), QLatin1String("unit")},
    Field{QLatin1String("Choices"), QLatin1String("choices")},
    Field{QLatin1String("Automatic"), QLatin1String("automatic")},
    Field{QLatin1String("IsAutomatic"), QLatin1String("is_automatic")},
    Field{QLatin1String("Rules"), QLatin1String("rules")},
};

QJsonValue jsonOf(const QVariant& value) {
    if (value.metaType() == QMetaType::fromType<QDBusVariant>())
        return jsonOf(value.value<QDBusVariant>().variant());
    if (value.metaType() != QMetaType::fromType<QDBusArgument>()) return QJsonValue::fromVariant(value);
    QJsonArray array; // the only other type
    for (const QVariant& each : qdbus_cast<QVariantList>(value))
        array.append(jsonOf(each));
    return array;
}

class PanelControls final : public ChosenControls {
public:
    PanelControls(Session& session, std::unique_ptr<PanelClient> panel, std::string camera)
        : session_(session),
          panel_(std::move(panel)),
          camera_(std::move(camera)) {}

    std::string camera() const override { return camera_; }

    std::pair<std::string, QJsonValue> value(const std::string& name) override {
        const std::string known = nameOf(name);
        ServiceError error;
        const auto value = panel_->get(camera_, known, error);
        if (!value) fail(error);
        return {known, jsonOf(*value)};
    }

    // The bus carries no order; the panel writes automatic ones first.
    void set(const std::vector<std::string>& changes, bool force,
             const std::function<void(const TakenValue& taken)>& taken) override {
        QVariantMap values;
        for (const std::string& change : changes) {
            const std::size_t equals = change.find('=');
            if (equals == std::string::npos)
                throw Failure(ExitStatus::usage, "\"" + change + "\" is not NAME=VALUE");
            const QString name = QString::fromStdString(nameOf(change.substr(0, equals)));
            if (values.contains(name))
                throw Failure(ExitStatus::usage,
                              name.toStdString() + " is named twice; through the panel it can be set once");
            values.insert(name, QString::fromStdString(change.substr(equals + 1)));
        }
        ServiceError error;
        const auto written = panel_->set(camera_, values, force, error);
        if (!written) fail(error);
        for (auto each = written->begin(); each != written->end(); ++each)
            taken({each.key().toStdString(), jsonOf(each.value())});
    }

    QJsonArray described() override {
        ServiceError error;
        const auto controls = panel_->controls(camera_, error);
        if (!controls) fail(error);
        QJsonArray described;
        for (const QVariantMap& each : *controls) {
            QJsonObject control;
            for (const Field& field : fields)
                if (each.contains(field.onTheBus)) control.insert(field.inJson, jsonOf(each[field.onTheBus]));
            described.append(control);
        }
        return described;
    }

private:
    [[noreturn]] static void fail(const ServiceError& error) {
        throw Failure(exitStatusOf(error.kind), error.text);
    }

    // Not an alias.
    std::string nameOf(const std::string& name) {
        const NamedControl* const control = session_.controlOfAnyCamera(name);
        return control != nullptr ? std::string(control->name) : name;
    }

    Session& session_;
    const std::unique_ptr<PanelClient> panel_;
    const std::string camera_;
};

std::optional<std::string> chosenOf(const std::vector<PanelClient::Camera>& cameras,
                                    const std::string& text) {
    const auto shown = std::ranges::find(cameras, true, &PanelClient::Camera::isShown);
    if (text.empty() && shown != cameras.end()) return shown->names.identifier;
    std::vector<CameraNames> names;
    names.reserve(cameras.size());
    for (const PanelClient::Camera& each : cameras)
        names.push_back(each.names);
    std::string reason;
    const auto position = chooseCamera(names, text, reason);
    return position ? std::optional(names[*position].identifier) : std::nullopt;
}

} // namespace

std::unique_ptr<ChosenControls> controlsOfPanel(Session& session) {
    auto panel = runningPanel(session);
    ServiceError unused;
    const auto cameras = panel ? panel->list(unused) : std::nullopt;
    const auto chosen = cameras ? chosenOf(*cameras, session.options().camera) : std::nullopt;
    if (!chosen) return nullptr;
    return std::make_unique<PanelControls>(session, std::move(panel), *chosen);
}

} // namespace tavelo
