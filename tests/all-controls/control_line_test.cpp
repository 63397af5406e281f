// SPDX-License-Identifier: MIT
#include "all-controls/control_line.h"

#include <gmock/gmock.h>

#include <QAccessible>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QLabel>
#include <QLineEdit>
#include <QTest>
#include <QVBoxLayout>
#include <QWheelEvent>
#include <memory>

#include "widgets/kt_slider.h"
#include "widgets/kt_switch.h"

namespace tavelo {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Chosen = std::pair<std::int64_t, bool>;

class LineTest : public ::testing::Test {
protected:
    void show(const ControlDescription& control) {
        line = new ControlLine(control, {QStringLiteral("Set by %1"), QStringLiteral("Default: %1")});
        QObject::connect(line, &ControlLine::chosen, line,
                         [this](std::int64_t value, bool held) { chosen.emplace_back(value, held); });
        (new QVBoxLayout(&window))->addWidget(line);
        window.resize(600, 80);
        window.show();
        QApplication::setActiveWindow(&window);
    }

    static ControlDescription range(std::int64_t value) {
        ControlDescription control;
        control.key = QStringLiteral("gain");
        control.title = QStringLiteral("Gain");
        control.minimum = -10;
        control.maximum = 90;
        control.step = 5;
        control.suffix = QStringLiteral(" K");
        control.defaultValue = 20;
        control.value = value;
        return control;
    }
    static ControlDescription choice(std::int64_t value) {
        ControlDescription control = range(value);
        control.kind = ControlShape::choice;
        control.choices = {{1, QStringLiteral("one")}, {20, QStringLiteral("twenty")}};
        return control;
    }
    static ControlDescription flag(std::int64_t value) {
        ControlDescription control = range(value);
        control.kind = ControlShape::flag;
        return control;
    }
    static ControlDescription automatic(ControlDescription control) {
        control.setBy = QStringLiteral("Auto Gain");
        return control;
    }

    template <typename Widget>
    Widget& part() {
        return *line->findChild<Widget*>();
    }
    QString note() { return line->findChild<QLabel*>(QStringLiteral("note"))->text(); }

    static bool turnWheel(QWidget& widget) {
        const QPointF at(widget.rect().center());
        QWheelEvent event(at, widget.mapToGlobal(at), {}, {0, 120}, Qt::NoButton, Qt::NoModifier,
                          Qt::NoScrollPhase, false);
        QApplication::sendEvent(&widget, &event);
        return event.isAccepted();
    }

    std::vector<Chosen> chosen; // before the window, which tells what is half typed when it goes
    QWidget window;
    ControlLine* line = nullptr;
};

TEST_F(LineTest, ARangeIsASliderWithANumberField) {
    show(range(30));
    EXPECT_EQ(part<KTSlider>().minValue(), -10);
    EXPECT_EQ(part<KTSlider>().maxValue(), 90);
    EXPECT_EQ(part<KTSlider>().intValue(), 30);
    EXPECT_EQ(part<KTSlider>().markedValue(), 20);
    EXPECT_EQ(part<QDoubleSpinBox>().text(), u"30 K");
    EXPECT_EQ(part<QDoubleSpinBox>().singleStep(), 5);
    EXPECT_EQ(line->findChild<QComboBox*>(), nullptr);
    EXPECT_EQ(line->findChild<KTSwitch*>(), nullptr);
}

TEST_F(LineTest, DraggingTellsEachValueAndWhetherMoreMayFollow) {
    show(range(30));
    KTSlider& slider = part<KTSlider>();
    const QPoint right(slider.width() - 8, 8);
    QTest::mousePress(&slider, Qt::LeftButton, {}, right);
    QTest::mouseRelease(&slider, Qt::LeftButton, {}, right);
    EXPECT_THAT(chosen, ElementsAre(Chosen(90, true), Chosen(90, false)));
}

TEST_F(LineTest, ATypedNumberIsToldWhenItIsComplete) {
    show(range(30));
    auto& field = part<QDoubleSpinBox>();
    field.setFocus();
    field.selectAll();
    QTest::keyClicks(&field, QStringLiteral("45"));
    EXPECT_THAT(chosen, IsEmpty());
    QTest::keyClick(&field, Qt::Key_Return);
    EXPECT_THAT(chosen, ElementsAre(Chosen(45, false)));
    QTest::keyClick(&field, Qt::Key_Up);
    EXPECT_EQ(chosen.back(), Chosen(50, false));
}

TEST_F(LineTest, AFieldThatTheUserTypesIntoStays) {
    show(range(30));
    auto& field = part<QDoubleSpinBox>();
    field.setFocus();
    field.selectAll();
    QTest::keyClicks(&field, QStringLiteral("4"));
    line->show(range(60));
    EXPECT_TRUE(field.text().startsWith(u'4'));
    EXPECT_EQ(part<KTSlider>().intValue(), 60);
    EXPECT_THAT(chosen, IsEmpty());
}

TEST_F(LineTest, ShowsAnotherValueWithoutTellingIt) {
    show(range(30));
    line->show(range(60));
    EXPECT_EQ(part<KTSlider>().intValue(), 60);
    EXPECT_EQ(part<QDoubleSpinBox>().value(), 60);
    EXPECT_THAT(chosen, IsEmpty());
}

TEST_F(LineTest, ASliderUnderTheUsersHandStaysUntilItIsLetGoWithoutAValue) {
    show(range(30));
    KTSlider& slider = part<KTSlider>();
    QTest::mousePress(&slider, Qt::LeftButton, {}, QPoint(8, 8));
    line->show(range(60));
    EXPECT_EQ(slider.intValue(), -10);
    EXPECT_EQ(part<QDoubleSpinBox>().value(), 60);
    slider.cancelDrag();
    EXPECT_EQ(slider.intValue(), 60);
    QTest::mousePress(&slider, Qt::LeftButton, {}, QPoint(8, 8));
    line->show(range(60));
    QTest::mouseRelease(&slider, Qt::LeftButton, {}, QPoint(8, 8));
    EXPECT_EQ(slider.intValue(), -10) << "the user set it since";
}

TEST_F(LineTest, AChoiceIsAMenu) {
    show(choice(1));
    auto& menu = part<QComboBox>();
    EXPECT_EQ(menu.count(), 2);
    EXPECT_EQ(menu.currentText(), u"one");
    line->show(choice(20));
    EXPECT_EQ(menu.currentText(), u"twenty");
    EXPECT_THAT(chosen, IsEmpty());
    menu.setFocus();
    QTest::keyClick(&menu, Qt::Key_Up);
    EXPECT_THAT(chosen, ElementsAre(Chosen(1, false)));
    line->showRefusal();
    EXPECT_EQ(menu.currentText(), u"twenty");
}

TEST_F(LineTest, AFlagIsASwitchThatItsOwnerTurns) {
    show(flag(1));
    auto& flagSwitch = part<KTSwitch>();
    EXPECT_TRUE(flagSwitch.on());
    QTest::mouseClick(&flagSwitch, Qt::LeftButton);
    EXPECT_THAT(chosen, ElementsAre(Chosen(0, false)));
    EXPECT_TRUE(flagSwitch.on());
    line->show(flag(0));
    EXPECT_FALSE(flagSwitch.on());
    QTest::mouseClick(&flagSwitch, Qt::LeftButton);
    EXPECT_EQ(chosen.back(), Chosen(1, false));
}

TEST_F(LineTest, ARefusalBringsBackTheNumberAndLeavesTheSlider) {
    show(range(30));
    QTest::mouseClick(&part<KTSlider>(), Qt::LeftButton, {}, QPoint(8, 8));
    part<QDoubleSpinBox>().setValue(77);
    line->showRefusal();
    EXPECT_EQ(part<QDoubleSpinBox>().value(), 30);
    EXPECT_EQ(part<KTSlider>().intValue(), -10);
}

TEST_F(LineTest, AnAutomaticDisablesItAndIsNamed) {
    for (const auto& control : {range(30), choice(1), flag(1)}) {
        qDeleteAll(window.findChildren<ControlLine*>());
        delete window.layout();
        show(automatic(control));
        const auto enabled = [this] {
            return line->findChild<KTSlider*>()
                       ? part<KTSlider>().isEnabled() || part<QDoubleSpinBox>().isEnabled()
                   : line->findChild<QComboBox*>() ? part<QComboBox>().isEnabled()
                                                   : part<KTSwitch>().isEnabled();
        };
        EXPECT_FALSE(enabled());
        EXPECT_EQ(note(), u"Set by Auto Gain");
        EXPECT_FALSE(line->findChild<QLabel*>(QStringLiteral("note"))->isHidden());
        line->show(control);
        EXPECT_TRUE(enabled());
        EXPECT_TRUE(line->findChild<QLabel*>(QStringLiteral("note"))->isHidden());
    }
}

TEST_F(LineTest, TellsScreenReadersTitleDefaultAndAutomatic) {
    show(range(30));
    const QWidgetList parts{&part<KTSlider>(), &part<QDoubleSpinBox>()};
    for (QWidget* widget : parts) {
        auto* interface = QAccessible::queryAccessibleInterface(widget);
        EXPECT_EQ(interface->text(QAccessible::Name), u"Gain");
        EXPECT_EQ(interface->text(QAccessible::Description), u"Default: 20 K");
    }
    line->show(automatic(range(30)));
    for (QWidget* widget : parts)
        EXPECT_EQ(QAccessible::queryAccessibleInterface(widget)->text(QAccessible::Description),
                  u"Set by Auto Gain");
}

TEST_F(LineTest, ScreenReadersFindEachKindOfWidget) {
    QAccessible::setActive(true);
    const auto role = [](QWidget& widget) { return QAccessible::queryAccessibleInterface(&widget)->role(); };
    show(range(30));
    EXPECT_EQ(role(part<KTSlider>()), QAccessible::Slider);
    EXPECT_EQ(role(part<QDoubleSpinBox>()), QAccessible::SpinBox);
    ControlLine menu(choice(1), {}, &window);
    EXPECT_EQ(role(*menu.findChild<QComboBox*>()), QAccessible::ComboBox);
    ControlLine flagLine(flag(1), {}, &window);
    EXPECT_EQ(role(*flagLine.findChild<KTSwitch*>()), QAccessible::CheckBox);
    QAccessible::setActive(false);
}

TEST_F(LineTest, TheDefaultOfAChoiceIsItsWord) {
    show(choice(1));
    EXPECT_EQ(part<QComboBox>().toolTip(), u"Default: twenty");
}

TEST_F(LineTest, ScrollingPastChangesNothing) {
    show(range(30));
    part<KTSlider>().setFocus();
    EXPECT_FALSE(turnWheel(part<QDoubleSpinBox>()));
    EXPECT_THAT(chosen, IsEmpty());
    part<QDoubleSpinBox>().setFocus();
    EXPECT_TRUE(turnWheel(part<QDoubleSpinBox>()));
    EXPECT_THAT(chosen, ElementsAre(Chosen(35, false)));
}

TEST_F(LineTest, NumbersOf32BitsFit) {
    ControlDescription control = range(4'000'000'000);
    control.maximum = 4'294'967'295;
    show(control);
    EXPECT_EQ(part<QDoubleSpinBox>().text(), u"4000000000 K");
    part<KTSlider>().setFocus();
    QTest::keyClick(&part<KTSlider>(), Qt::Key_End);
    EXPECT_THAT(chosen, ElementsAre(Chosen(4'294'967'295, false)));
}

} // namespace
} // namespace tavelo
