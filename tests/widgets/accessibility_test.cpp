// SPDX-License-Identifier: MIT
#include "widgets/accessibility.h"

#include <gmock/gmock.h>

#include <QAccessible>
#include <QDialog>
#include <QGuiApplication>
#include <QMenu>
#include <QSignalSpy>

#include "widgets/image_view.h"
#include "widgets/kt_camera_button.h"
#include "widgets/kt_check_button.h"
#include "widgets/kt_profile_button.h"
#include "widgets/kt_slider.h"
#include "widgets/kt_switch.h"
#include "widgets/kt_text.h"

namespace tavelo {
namespace {

using testing::Contains;
using testing::Not;

QAccessibleInterface& spoken(QObject& object) {
    return *QAccessible::queryAccessibleInterface(&object);
}

std::string nameOf(QObject& object) {
    return spoken(object).text(QAccessible::Name).toStdString();
}

TEST(Accessibility, GivesEveryControlItsRole) {
    KTSlider slider;
    KTSwitch mirror;
    KTCheckButton check;
    KTCameraButton camera;
    KTProfileButton profile;
    KTText label;
    ImageView logo{Image()};
    EXPECT_EQ(spoken(slider).role(), QAccessible::Slider);
    EXPECT_EQ(spoken(mirror).role(), QAccessible::CheckBox);
    EXPECT_EQ(spoken(check).role(), QAccessible::RadioButton);
    EXPECT_EQ(spoken(camera).role(), QAccessible::RadioButton);
    EXPECT_EQ(spoken(profile).role(), QAccessible::PushButton);
    EXPECT_EQ(spoken(label).role(), QAccessible::StaticText);
    EXPECT_EQ(spoken(logo).role(), QAccessible::Graphic);
}

TEST(Accessibility, NamesAControlByItsAccessibleNameOrElseItsText) {
    KTCameraButton camera;
    camera.setText(QStringLiteral("Cam 1"));
    EXPECT_EQ(nameOf(camera), "Cam 1");
    camera.setAccessibleName(QStringLiteral("Camera 1"));
    EXPECT_EQ(nameOf(camera), "Camera 1");

    KTText label;
    label.setText(QStringLiteral("Brightness"));
    EXPECT_EQ(nameOf(label), "Brightness");

    KTSlider slider;
    slider.setAccessibleName(QStringLiteral("Brightness"));
    EXPECT_EQ(nameOf(slider), "Brightness");
}

TEST(Accessibility, GivesTopLevelWidgetsTheWindowRole) {
    QWidget window;
    QWidget part(&window);
    KTSlider slider(&part);
    EXPECT_EQ(spoken(window).role(), QAccessible::Window);
    EXPECT_NE(spoken(part).role(), QAccessible::Window);
    EXPECT_EQ(nameOf(window), QGuiApplication::applicationDisplayName().toStdString());
    window.setWindowTitle(QStringLiteral("Cameras"));
    EXPECT_EQ(nameOf(window), "Cameras");

    QMenu menu;
    QDialog dialog;
    EXPECT_EQ(spoken(menu).role(), QAccessible::PopupMenu);
    EXPECT_EQ(spoken(dialog).role(), QAccessible::Dialog);
}

TEST(Accessibility, ReportsTheCheckedState) {
    KTSwitch mirror;
    EXPECT_TRUE(spoken(mirror).state().checkable);
    EXPECT_FALSE(spoken(mirror).state().checked);
    mirror.setOn(true);
    EXPECT_TRUE(spoken(mirror).state().checked);

    KTCheckButton check;
    check.setCheck(true);
    EXPECT_TRUE(spoken(check).state().checked);

    KTCameraButton camera;
    camera.setSelected(true);
    EXPECT_TRUE(spoken(camera).state().checked);
}

TEST(Accessibility, ReportsTheStateOfAProfileButtonOnlyIfItIsAChoice) {
    KTProfileButton button;
    button.setState(1);
    EXPECT_FALSE(spoken(button).state().checkable);
    EXPECT_FALSE(spoken(button).state().checked);
    button.setStateIsChoice(true);
    EXPECT_TRUE(spoken(button).state().checkable);
    EXPECT_TRUE(spoken(button).state().checked);
}

TEST(Accessibility, ReportsADimmedLabelAsDisabled) {
    KTText label;
    EXPECT_FALSE(spoken(label).state().disabled);
    label.setEnable(false);
    EXPECT_TRUE(spoken(label).state().disabled);
}

TEST(Accessibility, PressesOnlyEnabledButtons) {
    KTSwitch mirror;
    QSignalSpy clicks(&mirror, &KTSwitch::clicked);
    QAccessibleActionInterface* actions = spoken(mirror).actionInterface();
    ASSERT_NE(actions, nullptr);
    EXPECT_THAT(actions->actionNames(), Contains(QAccessibleActionInterface::toggleAction()));
    actions->doAction(QAccessibleActionInterface::toggleAction());
    EXPECT_EQ(clicks.count(), 1);

    mirror.setEnabled(false);
    EXPECT_THAT(actions->actionNames(), Not(Contains(QAccessibleActionInterface::toggleAction())));
    actions->doAction(QAccessibleActionInterface::toggleAction());
    EXPECT_EQ(clicks.count(), 1);

    KTProfileButton profile;
    EXPECT_THAT(spoken(profile).actionInterface()->actionNames(),
                Contains(QAccessibleActionInterface::pressAction()));
}

TEST(Accessibility, ReadsAndMovesASlider) {
    KTSlider slider;
    slider.setMinValue(-10);
    slider.setMaxValue(10);
    slider.setIntValue(4);
    QSignalSpy actions(&slider, &KTSlider::action);
    QAccessibleValueInterface* value = spoken(slider).valueInterface();
    ASSERT_NE(value, nullptr);
    EXPECT_EQ(value->minimumValue(), -10.0);
    EXPECT_EQ(value->maximumValue(), 10.0);
    EXPECT_EQ(value->currentValue(), 4.0);
    EXPECT_EQ(value->minimumStepSize(), 1.0);
    EXPECT_EQ(spoken(slider).text(QAccessible::Value), QStringLiteral("4"));

    value->setCurrentValue(70);
    EXPECT_EQ(slider.floatValue(), 10);
    spoken(slider).actionInterface()->doAction(QAccessibleActionInterface::decreaseAction());
    EXPECT_EQ(slider.floatValue(), 9);
    EXPECT_EQ(actions.count(), 2) << "it counts as a user action";

    value->setCurrentValue(QStringLiteral("loud"));
    slider.setEnabled(false);
    value->setCurrentValue(0);
    spoken(slider).actionInterface()->doAction(QAccessibleActionInterface::increaseAction());
    EXPECT_EQ(slider.floatValue(), 9);
    EXPECT_EQ(actions.count(), 2);
}

TEST(Accessibility, ALabelNamesItsButton) {
    QWidget panel;
    KTText label(&panel);
    KTCheckButton button(&panel);
    const KTText other(&panel);
    label.setBuddy(&button);
    const auto labelled = spoken(label).relations(QAccessible::Labelled);
    ASSERT_EQ(labelled.size(), 1);
    EXPECT_EQ(labelled.front().first, &spoken(button));
    const auto labels = spoken(button).relations(QAccessible::Label);
    ASSERT_EQ(labels.size(), 1);
    EXPECT_EQ(labels.front().first, &spoken(label));
    EXPECT_TRUE(spoken(label).relations(QAccessible::Controlled).isEmpty());
    EXPECT_EQ(spoken(label).role(), QAccessible::StaticText) << "the label is not a button itself";
}

} // namespace
} // namespace tavelo
