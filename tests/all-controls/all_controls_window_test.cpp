// SPDX-License-Identifier: MIT
#include "all-controls/all_controls_window.h"

#include <gmock/gmock.h>

#include <QComboBox>
#include <QDoubleSpinBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <algorithm>
#include <cmath>

#include "app/resources/resource_bundle.h"
#include "widgets/kt_slider.h"
#include "widgets/kt_switch.h"

namespace tavelo {
namespace {

using ::testing::ElementsAre;

class FakeModel : public ControlModel {
public:
    std::vector<ControlGroup> groups() const override { return contents; }
    bool write(const QString& key, std::int64_t value, bool /*held*/) override {
        writes.emplace_back(key.toStdString(), value);
        if (!takes) return false;
        for (ControlGroup& group : contents)
            for (ControlDescription& control : group.controls)
                if (control.key == key) control.value = value;
        Q_EMIT changed();
        return true;
    }

    std::vector<ControlGroup> contents;
    std::vector<std::pair<std::string, std::int64_t>> writes;
    bool takes = true;
};

ControlDescription flag(const char* key, std::int64_t value) {
    ControlDescription control;
    control.key = QLatin1String(key);
    control.title = control.key.toUpper();
    control.kind = ControlShape::flag;
    control.value = value;
    return control;
}

class WindowTest : public ::testing::Test {
protected:
    WindowTest() {
        first.contents = {{QStringLiteral("Camera"), {flag("a", 0), flag("b", 1)}}};
        second.contents = {{QStringLiteral("Maker"), {flag("c", 0)}}};
        window.addModel(first);
        window.show();
    }

    KTSwitch& switchAt(std::size_t line) { return *window.lines().at(line)->findChild<KTSwitch*>(); }
    QPushButton& button(const char* name) { return *window.findChild<QPushButton*>(QLatin1String(name)); }
    QStringList groupTitles() {
        QStringList titles;
        for (const QLabel* label : window.findChild<QWidget*>(QStringLiteral("contents"))
                                       ->findChildren<QLabel*>(QStringLiteral("groupTitle")))
            titles += label->text();
        return titles;
    }
    void change(FakeModel& model) { Q_EMIT model.changed(); }

    ResourceBundle bundle{{"en-US"}};
    FakeModel first;
    FakeModel second;
    AllControlsWindow window{bundle, nullptr};
};

TEST_F(WindowTest, ShowsTheGroupsOfItsModelsBelowEachOther) {
    window.addModel(second);
    EXPECT_EQ(groupTitles(), (QStringList{QStringLiteral("Camera"), QStringLiteral("Maker")}));
    ASSERT_EQ(window.lines().size(), 3U);
    EXPECT_TRUE(switchAt(1).on());
}

TEST_F(WindowTest, AChoiceGoesToTheModelOfItsLine) {
    window.addModel(second);
    QTest::mouseClick(&switchAt(2), Qt::LeftButton);
    EXPECT_THAT(second.writes, ElementsAre(std::pair("c", 1)));
    EXPECT_TRUE(first.writes.empty());
    EXPECT_TRUE(switchAt(2).on());
    second.takes = false;
    QTest::mouseClick(&switchAt(2), Qt::LeftButton);
    EXPECT_TRUE(switchAt(2).on()) << "refused";
}

TEST_F(WindowTest, ValuesFollowInTheSameWidgets) {
    const ControlLine* before = window.lines()[0];
    first.contents[0].controls[0].value = 1;
    change(first);
    EXPECT_EQ(window.lines()[0], before);
    EXPECT_TRUE(switchAt(0).on());
}

TEST_F(WindowTest, FollowsWhileItIsVisible) {
    window.hide();
    first.contents[0].controls = {flag("e", 1)};
    change(first);
    EXPECT_EQ(window.lines().size(), 2U) << "nobody looks";
    window.show();
    ASSERT_EQ(window.lines().size(), 1U);
    EXPECT_EQ(window.lines()[0]->control().key, u"e");
}

TEST_F(WindowTest, AHalfTypedNumberGoesToNoOtherCamera) {
    ControlDescription gain = flag("gain", 3);
    gain.kind = ControlShape::range;
    gain.maximum = 90;
    first.contents[0].controls = {gain};
    change(first);
    QApplication::setActiveWindow(&window);
    auto& field = *window.lines()[0]->findChild<QDoubleSpinBox*>();
    field.setFocus();
    field.selectAll();
    QTest::keyClicks(&field, QStringLiteral("45"));
    ASSERT_TRUE(field.hasFocus());
    first.contents[0].controls[0].maximum = 60; // the same control of another camera
    change(first);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(window.lines()[0]->findChild<QDoubleSpinBox*>()->value(), 3);
    EXPECT_TRUE(first.writes.empty());
}

TEST_F(WindowTest, OtherControlsGetOtherWidgets) {
    first.contents[0].controls.push_back(flag("d", 1));
    change(first);
    ASSERT_EQ(window.lines().size(), 3U);
    first.contents[0].controls = {flag("e", 1)};
    change(first);
    ASSERT_EQ(window.lines().size(), 1U);
    EXPECT_EQ(window.lines()[0]->control().key, u"e");
    first.contents[0].title = QStringLiteral("Lens");
    change(first);
    EXPECT_EQ(groupTitles(), QStringList(QStringLiteral("Lens")));
}

TEST_F(WindowTest, AControlMayGoWhileItIsUsed) {
    QObject::connect(window.lines()[0], &ControlLine::chosen, &window, [this] {
        first.contents.clear();
        change(first);
    });
    QTest::mouseClick(&switchAt(0), Qt::LeftButton);
    EXPECT_TRUE(window.lines().empty());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

TEST_F(WindowTest, WithoutControlsItSaysSoAndTheButtonsAreDisabled) {
    EXPECT_TRUE(button("defaults").isEnabled());
    first.contents.clear();
    change(first);
    EXPECT_FALSE(button("defaults").isEnabled());
    EXPECT_FALSE(button("sendAll").isEnabled());
    const auto labels = window.findChild<QWidget*>(QStringLiteral("contents"))->findChildren<QLabel*>();
    ASSERT_EQ(labels.size(), 1);
    EXPECT_EQ(labels[0]->text(), u"No camera with controls is shown.");
}

TEST_F(WindowTest, TheButtonsAreDisabledDuringAWalk) {
    QSignalSpy defaults(&window, &AllControlsWindow::defaultsChosen);
    QSignalSpy sends(&window, &AllControlsWindow::sendAllChosen);
    button("defaults").click();
    button("sendAll").click();
    EXPECT_EQ(defaults.size(), 1);
    EXPECT_EQ(sends.size(), 1);
    window.setWalking(true);
    first.contents[0].controls.push_back(flag("d", 1));
    change(first);
    EXPECT_FALSE(button("defaults").isEnabled());
    window.setWalking(false);
    EXPECT_TRUE(button("sendAll").isEnabled());
}

TEST_F(WindowTest, ItsTitleNamesTheCamera) {
    EXPECT_EQ(window.windowTitle(), u"All Controls");
    window.setCameraName(QStringLiteral("Cam"));
    EXPECT_EQ(window.windowTitle(), u"All Controls – Cam");
}

TEST_F(WindowTest, TellsThatItWasHiddenOrActivated) {
    QSignalSpy closes(&window, &AllControlsWindow::closed);
    QSignalSpy activations(&window, &AllControlsWindow::activated);
    QApplication::setActiveWindow(&window);
    EXPECT_EQ(activations.size(), 1);
    QTest::keyClick(&window, Qt::Key_Escape);
    EXPECT_FALSE(window.isVisible());
    EXPECT_EQ(closes.size(), 1);
}

// The relative luminance and the contrast ratio of the Web Content Accessibility Guidelines.
double luminance(const QColor& color) {
    const auto linear = [](double part) {
        return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

/// Between the lightest and the darkest pixel.
double contrastOf(const QImage& image) {
    double lightest = 0;
    double darkest = 1;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) {
            const double here = luminance(image.pixelColor(x, y));
            lightest = std::max(lightest, here);
            darkest = std::min(darkest, here);
        }
    return (lightest + 0.05) / (darkest + 0.05);
}

TEST_F(WindowTest, EveryTextCanBeRead) {
    ControlDescription gain = flag("gain", 888);
    gain.kind = ControlShape::range;
    gain.maximum = 999;
    ControlDescription mode = flag("mode", 1);
    mode.kind = ControlShape::choice;
    mode.choices = {{1, QStringLiteral("MMM")}};
    std::vector<ControlDescription> controls{gain, mode, flag("x", 1)};
    for (std::size_t i = 0; i < 3; ++i) {
        controls.push_back(controls[i]);
        controls.back().key += u'2';
        controls.back().setBy = QStringLiteral("MMM");
    }
    first.contents = {{QStringLiteral("MMM"), controls}};
    change(first);
    window.resize(660, 800); // nothing is scrolled away
    QCoreApplication::processEvents();
    const QImage all = window.grab().toImage();
    int texts = 0;
    for (const QWidget* part :
         window.findChild<QWidget*>(QStringLiteral("contents"))->findChildren<QWidget*>()) {
        const bool isText = qobject_cast<const QLabel*>(part) != nullptr ||
                            qobject_cast<const QComboBox*>(part) != nullptr ||
                            qobject_cast<const QLineEdit*>(part) != nullptr;
        if (!isText || part->isHidden()) continue;
        ++texts;
        constexpr int textWidth = 30; // without the arrow of a menu, and the frame
        const QRect text(part->mapTo(&window, QPoint(3, 3)), QSize(textWidth, part->height() - 6));
        EXPECT_GE(contrastOf(all.copy(text)), 4.5) << part->metaObject()->className();
    }
    EXPECT_EQ(texts, 1 + 6 + 3 + 2 + 2) << "group, titles, notes, menus, fields";
}

TEST_F(WindowTest, SpeaksAllLanguages) {
    for (const std::string& language : bundle.localizations()) {
        ResourceBundle other({language});
        AllControlsWindow translated(other, nullptr);
        EXPECT_EQ(translated.windowTitle().toStdString(), other.string(language, "All_controls"));
        const auto* defaults = translated.findChild<QPushButton*>(QStringLiteral("defaults"));
        EXPECT_EQ(defaults->text().toStdString(), other.string(language, "Defaults"));
    }
}

} // namespace
} // namespace tavelo
