// SPDX-License-Identifier: MIT
#include "app/all_controls.h"

#include <QGuiApplication>
#include <QScreen>
#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <variant>

#include "widgets/foreign_text.h"

namespace tavelo {
namespace {

constexpr auto placeKey = "AllControlsPlace"; // x, y, width, height in points

std::optional<QRect> placeIn(const std::optional<PreferencesValue>& stored) {
    const auto* array = stored ? std::get_if<PreferencesArray>(&stored->value) : nullptr;
    if (array == nullptr || array->size() != 4) return {};
    std::array<int, 4> numbers{};
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        constexpr std::int64_t farthest = 100'000;
        const auto* number = std::get_if<std::int64_t>(&(*array)[i].value);
        if (number == nullptr || *number < -farthest || *number > farthest) return {};
        numbers[i] = static_cast<int>(*number);
    }
    return QRect(numbers[0], numbers[1], numbers[2], numbers[3]);
}

bool isOnAScreen(const QRect& place) {
    return std::ranges::any_of(QGuiApplication::screens(), [&](const QScreen* screen) {
        return screen->availableGeometry().contains(place);
    });
}

} // namespace

AllControls::AllControls(ViewController& panel, const Bundle& bundle, const ControlCatalog& catalog,
                         QWidget& panelWindow)
    : panel_(panel),
      bundle_(bundle),
      panelWindow_(panelWindow),
      model_({panel.uvcManager(), bundle,
              [&panel](const PlannedWrite& planned, bool held) {
                  return panel.writeControl(planned.control->control, held, [&](KTUVCManager& manager) {
                      return tavelo::write(manager, planned).has_value();
                  });
              }}),
      units_({panel.uvcManager(), bundle, catalog, [&panel](const PlannedWrite& planned, bool held) {
                  std::optional<std::int64_t> taken;
                  panel.writeControl({}, held, [&](KTUVCManager& manager) {
                      taken = tavelo::write(manager, planned);
                      return taken.has_value();
                  });
                  return taken;
              }}) {}

AllControls::~AllControls() {
    if (!window_) return;
    window_->hide(); // stores its place
    delete window_;
}

void AllControls::show() {
    if (!window_) makeWindow();
    ask();
    window_->show();
    window_->raise();
    window_->activateWindow();
}

void AllControls::makeWindow() {
    window_ = new AllControlsWindow(bundle_, &panelWindow_);
    window_->addModel(model_);
    window_->addModel(units_);
    restorePlace();
    controlsWereBound();
    connect(&panel_, &ViewController::controlsBound, this, &AllControls::controlsWereBound);
    connect(&panel_, &ViewController::recordChanged, &model_, &ControlModel::changed);
    connect(&panel_, &ViewController::controlWalkEnded, window_, [this] { window_->setWalking(false); });
    connect(window_, &AllControlsWindow::activated, this, &AllControls::windowWasActivated);
    connect(window_, &AllControlsWindow::closed, this, &AllControls::storePlace);
    connect(window_, &AllControlsWindow::defaultsChosen, this, [this] { walk(ControlWalk::defaults); });
    connect(window_, &AllControlsWindow::sendAllChosen, this, [this] { walk(ControlWalk::heldValues); });
}

void AllControls::controlsWereBound() {
    const auto camera = panel_.shownCamera();
    window_->setCameraName(camera ? foreignName(camera->localizedName()) : QString());
    if (window_->isVisible()) ask();
    Q_EMIT model_.changed();
    Q_EMIT units_.changed();
}

void AllControls::ask() {
    model_.ask();
    units_.ask();
}

void AllControls::windowWasActivated() {
    panel_.windowWasActivated();
    units_.ask();
}

void AllControls::walk(ControlWalk walk) {
    window_->setWalking(true);
    panel_.walkControls(walk);
}

void AllControls::languageDidChange() {
    if (window_) window_->retranslate();
}

void AllControls::restorePlace() {
    const auto place = placeIn(panel_.userDefaults().objectForKey(placeKey));
    if (place && isOnAScreen(*place)) window_->setGeometry(*place);
}

void AllControls::storePlace() {
    const QRect place = window_->geometry();
    PreferencesArray numbers;
    for (const int number : {place.x(), place.y(), place.width(), place.height()})
        numbers.push_back({std::int64_t{number}});
    if (placeIn(PreferencesValue{numbers}) == placeIn(panel_.userDefaults().objectForKey(placeKey))) return;
    panel_.userDefaults().setObject({numbers}, placeKey);
    panel_.userDefaults().synchronize({});
}

} // namespace tavelo
