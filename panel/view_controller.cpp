// SPDX-License-Identifier: MIT
// Start-up, the connections between widgets and actions, and everything that concerns the whole panel.
#include "panel/view_controller.h"

#include <QVBoxLayout>
#include <utility>

#include "video/kt_display_view.h"
#include "widgets/kt_camera_button.h"
#include "widgets/kt_check_button.h"
#include "widgets/kt_profile_button.h"
#include "widgets/kt_slider.h"
#include "widgets/kt_switch.h"
#include "widgets/kt_text.h"

namespace tavelo {
namespace {

// Only video devices are of interest.
constexpr int videoScope = 2;

} // namespace

ViewController::ViewController(const PanelOptions& options)
    : uvcManager_(options.uvcManager),
      capture_(options.capture),
      userDefaults_(options.userDefaults),
      bundle_(options.bundle),
      renderer_(options.renderer),
      pause_(options.pause),
      bindsFirstCameraLater_(options.bindsFirstCameraLater) {
    showTimer_.setSingleShot(true);
    connect(&showTimer_, &QTimer::timeout, this, &ViewController::showMtkView);
    readAgainTimer_.setSingleShot(true);
    connect(&readAgainTimer_, &QTimer::timeout, this, &ViewController::readAgain);
    settleTimer_.setSingleShot(true);
    settleTimer_.setTimerType(Qt::PreciseTimer);
    connect(&settleTimer_, &QTimer::timeout, this, &ViewController::didSettle);
    connect(&follower_, &ControlFollower::changed, this, &ViewController::controlWasFollowed);
}

ViewController::~ViewController() {
    if (observing_) capture_.removeObserver(this);
    // The manager outlives the panel, so its prober must not call it any more.
    uvcManager_.setProber(nullptr);
}

void ViewController::viewDidLoad() {
    profileIndex_ = -1;
    uvcManager_.initProberWithBusProberScopeProberDelegate(videoScope, this);
    auto display = KTDisplayView::create(QRect(), capture_, renderer_);
    // The camera starts while the widgets are made, which takes nearly as long: they read the fonts.
    listCameras();
    if (display && !devicesArray_.empty()) display->showDevice(devicesArray_.front());
    ownedView_ = std::make_unique<PanelView>(bundle_, std::move(display));
    view_ = ownedView_.get();
    connectActions();
    view_->installEventFilter(this);

    view_->camera1Button()->setEnabled(false);
    view_->camera2Button()->setEnabled(false);
    view_->hz50Button()->setCheck(true);
    view_->hz60Button()->setCheck(false);
    for (KTProfileButton* button : view_->profileButtons())
        button->setState(0);
    view_->saveProfileButton()->setState(1);
    view_->restoreProfileButton()->setState(0);

    readVideoDevice();
    addNotifiction();
}

void ViewController::putInto(QWidget& window) {
    auto* layout = new QVBoxLayout(&window);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(ownedView_.release());
}

void ViewController::connectActions() {
    for (std::size_t i = 0; i < panelRowCount; ++i) {
        KTSlider* slider = view_->rows()[i].slider;
        connect(slider, &KTSlider::action, this,
                [this, row = static_cast<PanelRow>(i), slider] { sliderAction(row, slider); });
        connect(slider, &KTSlider::dragEnded, this,
                [this, row = static_cast<PanelRow>(i)] { dragEnded(row); });
    }
    KTSwitch* mirror = view_->mirrorSwitch();
    connect(mirror, &KTSwitch::clicked, this, [this, mirror] { mirrorSwitchAction(mirror); });
    const auto connectButton = [this](QAbstractButton* button, void (ViewController::*action)(QObject*)) {
        connect(button, &QAbstractButton::clicked, this, [this, button, action] { (this->*action)(button); });
    };
    connectButton(view_->hz50Button(), &ViewController::hz50CheckButtonAction);
    connectButton(view_->hz60Button(), &ViewController::hz60CheckButtonAction);
    connectButton(view_->camera1Button(), &ViewController::camera1ButtonAction);
    connectButton(view_->camera2Button(), &ViewController::camera2ButtonAction);
    connectButton(view_->profile1Button(), &ViewController::profile1ButtonAction);
    connectButton(view_->profile2Button(), &ViewController::profile2ButtonAction);
    connectButton(view_->profile3Button(), &ViewController::profile3ButtonAction);
    connectButton(view_->profile4Button(), &ViewController::profile4ButtonAction);
    connectButton(view_->saveProfileButton(), &ViewController::saveProfileButtonAction);
    connectButton(view_->restoreProfileButton(), &ViewController::restoreProfileButtonAction);
    connectButton(view_->minButton(), &ViewController::minButtonAction);
    connectButton(view_->closeButton(), &ViewController::closeButtonAction);
}

void ViewController::setCameraControlViewEnable(bool enable) {
    for (const SliderRow& row : view_->rows()) {
        row.slider->setEnabled(enable);
        row.titleText->setEnable(enable);
    }
    view_->mirrorSwitch()->setEnabled(enable);
    view_->hz50Button()->setEnabled(enable);
    view_->hz60Button()->setEnabled(enable);
    view_->mirrorTitleText()->setEnable(enable);
    view_->hz50Text()->setEnable(enable);
    view_->hz60Text()->setEnable(enable);
    for (KTProfileButton* button : view_->profileButtons())
        button->setEnabled(enable);
    view_->saveProfileButton()->setEnabled(enable);
    view_->restoreProfileButton()->setEnabled(enable);
}

void ViewController::hiddenMtkViewAndShowAfterDelay(std::chrono::milliseconds delay) {
    hiddenMtkView();
    showTimer_.start(delay); // restarts it if it is running
}

void ViewController::hiddenMtkView() {
    if (displayView() != nullptr) displayView()->mtkView()->setHidden(true);
}

void ViewController::showMtkView() {
    if (displayView() != nullptr) displayView()->mtkView()->setHidden(false);
}

void ViewController::closeButtonAction(QObject* /*sender*/) {
    Q_EMIT closeRequested();
}

void ViewController::minButtonAction(QObject* /*sender*/) {
    Q_EMIT miniaturizeRequested();
}

} // namespace tavelo
