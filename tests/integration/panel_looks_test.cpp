// SPDX-License-Identifier: MIT
// Whether everybody can read the windows: contrast as WCAG measures it, and large text.
#include <QAbstractSpinBox>
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QTableView>
#include <QTimer>
#include <cmath>
#include <map>

#include "app/about_panel.h"
#include "app/all_controls.h"
#include "app/camera_menu.h"
#include "app/kt_application.h"
#include "app/panel_menu.h"
#include "app/program_language.h"
#include "app/software_list.h"
#include "integration/panel_fixture.h"
#include "panel/saved_alert.h"
#include "widgets/panel_look.h"

namespace tavelo {
namespace {

// WCAG 2.1, levels AA and AAA of text, and AA of what is not text.
constexpr double textContrast = 4.5;
constexpr double highTextContrast = 7;
constexpr double shapeContrast = 3;

double luminance(QRgb color) {
    const auto part = [](int value) {
        const double share = value / 255.0;
        return share <= 0.04045 ? share / 12.92 : std::pow((share + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * part(qRed(color)) + 0.7152 * part(qGreen(color)) + 0.0722 * part(qBlue(color));
}

double contrastRatio(QRgb one, QRgb other) {
    const auto [low, high] = std::minmax({luminance(one), luminance(other)});
    return (high + 0.05) / (low + 0.05);
}

/// The contrast of the pixel that stands out most with the most frequent one.
double contrastIn(const QImage& image, const QRect& place) {
    std::map<QRgb, int> colours;
    for (int y = place.top(); y <= place.bottom(); ++y)
        for (int x = place.left(); x <= place.right(); ++x)
            if (image.valid(x, y)) ++colours[image.pixel(x, y)];
    if (colours.empty()) return 0;
    const QRgb back =
        std::ranges::max_element(colours, {}, [](const auto& entry) { return entry.second; })->first;
    double most = 0;
    for (const auto& entry : colours)
        most = std::max(most, contrastRatio(back, entry.first));
    return most;
}

/// Whether nothing of it is hidden or scrolled away.
bool isWhole(const QWidget& widget) {
    return widget.isVisible() && widget.visibleRegion() == widget.rect();
}

QString nameOf(const QWidget& widget) {
    return QStringLiteral("%1 %2 “%3” %4")
        .arg(QLatin1String(widget.metaObject()->className()), widget.objectName(),
             widget.property("text").toString() + widget.accessibleName(),
             widget.isEnabled() ? QStringLiteral("enabled") : QStringLiteral("disabled"));
}

class PanelLooks : public PanelTest {
protected:
    ~PanelLooks() override {
        QApplication::setPalette(QPalette());
        QApplication::setFont(font_);
    }

    static void makeHighContrast() {
        QApplication::setPalette(QPalette(Qt::white, Qt::black, Qt::white, Qt::white, Qt::white, Qt::white,
                                          Qt::white, Qt::black, Qt::black));
        ASSERT_TRUE(hasHighContrast(QApplication::palette()));
    }
    static void makeTextLarge() {
        QFont font = QApplication::font();
        font.setPixelSize(30);
        QApplication::setFont(font);
        ASSERT_EQ(textScale(), 2);
    }

    /// @param count the least number of texts that a window must have
    static void expectContrast(QWidget& window, double wanted, int count) {
        const QImage image = window.grab().toImage();
        int seen = 0;
        for (const QWidget* widget : window.findChildren<QWidget*>()) {
            const auto* label = qobject_cast<const QLabel*>(widget);
            const bool isText = (label != nullptr && !label->text().isEmpty()) ||
                                qobject_cast<const QPushButton*>(widget) != nullptr ||
                                qobject_cast<const QComboBox*>(widget) != nullptr ||
                                qobject_cast<const QAbstractSpinBox*>(widget) != nullptr ||
                                qobject_cast<const QHeaderView*>(widget) != nullptr;
            const bool isShape = qobject_cast<const KTSlider*>(widget) != nullptr ||
                                 qobject_cast<const KTSwitch*>(widget) != nullptr ||
                                 qobject_cast<const QScrollBar*>(widget) != nullptr;
            // WCAG leaves out what is switched off; its text is to be read all the same.
            if ((!isText && !(isShape && widget->isEnabled())) || !isWhole(*widget)) continue;
            const QRect place(widget->mapTo(&window, QPoint()), widget->size());
            // Without its frame, which stands out too.
            const QRect inside = isText ? place.adjusted(4, 4, -4, -4) : place;
            EXPECT_GE(contrastIn(image, inside), isText ? wanted : shapeContrast)
                << nameOf(*widget).toStdString();
            ++seen;
        }
        EXPECT_GE(seen, count);
    }

    static void expectContrast(QMenu& menu, double wanted) {
        const QImage image = menu.grab().toImage();
        for (QAction* action : menu.actions()) {
            if (action->isSeparator() || !action->isVisible()) continue;
            EXPECT_GE(contrastIn(image, menu.actionGeometry(action)), wanted) << action->text().toStdString();
        }
    }

    static void expectNothingIsCutOff(const QWidget& window) {
        for (const QLabel* label : window.findChildren<QLabel*>()) {
            if (!label->isVisible() || label->text().isEmpty()) continue;
            const int needed =
                label->wordWrap() ? label->heightForWidth(label->width()) : label->sizeHint().height();
            EXPECT_GE(label->height(), needed) << nameOf(*label).toStdString();
            const int wide = label->wordWrap() ? 0 : label->sizeHint().width();
            EXPECT_GE(label->width(), wide) << nameOf(*label).toStdString();
        }
        for (const QPushButton* button : window.findChildren<QPushButton*>())
            EXPECT_GE(button->width(), button->minimumSizeHint().width()) << nameOf(*button).toStdString();
    }

    QDialog* openAbout() {
        window_.show();
        showAboutPanel(&window_, KTApplication::credits(bundle_), bundle_);
        return window_.findChild<QDialog*>(QStringLiteral("aboutPanel"));
    }

    const QFont font_ = QApplication::font();
};

/// Each window with ordinary and with high contrast.
class PanelContrast : public PanelLooks, public testing::WithParamInterface<bool> {
protected:
    PanelContrast() {
        if (GetParam()) makeHighContrast();
    }
    const double wanted_ = GetParam() ? highTextContrast : textContrast;
};

TEST_P(PanelContrast, OfTheAboutPanelAndTheListOfSoftware) {
    const std::unique_ptr<QDialog> about(openAbout());
    ASSERT_NE(about, nullptr);
    expectContrast(*about, wanted_, 4);
    showSoftwareList(about.get(), bundle_);
    auto* list = about->findChild<QDialog*>(QStringLiteral("softwareList"));
    ASSERT_NE(list, nullptr);
    expectContrast(*list, wanted_, 2);
    const auto* table = list->findChild<QTableView*>();
    const QImage image = table->viewport()->grab().toImage();
    for (int row = 0; row < 3; ++row) // the selected row is one of them
        for (int column = 0; column < 2; ++column)
            EXPECT_GE(contrastIn(image, table->visualRect(table->model()->index(row, column))), wanted_)
                << row;
}

TEST_P(PanelContrast, OfTheWindowOfAllControls) {
    start(1);
    const ControlCatalog catalog;
    AllControls allControls(panel(), bundle_, catalog, window_);
    allControls.show();
    AllControlsWindow& shown = *allControls.window();
    ASSERT_TRUE(waitFor([&] {
        return std::ranges::any_of(shown.lines(),
                                   [](const ControlLine* line) { return line->control().step > 1; });
    }));
    shown.resize(660, 1180);
    QCoreApplication::processEvents();
    expectContrast(shown, wanted_, 30);
    // A window that shows only some of them has a bar for the rest.
    shown.resize(660, 400);
    QCoreApplication::processEvents();
    const auto* bar = shown.findChild<QScrollArea*>()->verticalScrollBar();
    ASSERT_TRUE(isWhole(*bar));
    expectContrast(shown, wanted_, 10);
}

TEST_P(PanelContrast, OfTheMessage) {
    QTimer whenShown;
    QObject::connect(&whenShown, &QTimer::timeout, &window_, [&] {
        QWidget* alert = QApplication::activeModalWidget();
        if (alert == nullptr) return;
        whenShown.stop();
        expectContrast(*alert, wanted_, 2);
        alert->close();
    });
    whenShown.start(0);
    showSavedAlert(nullptr, bundle_);
}

TEST_P(PanelContrast, OfTheMenus) {
    start(1);
    ProgramLanguage language(bundle_, store_);
    PictureStatus status;
    CameraMenu camera(panel(), bundle_, [&status] { return status; });
    PanelMenu menu(window_, bundle_, language);
    menu.addSection(camera);
    QTest::mouseClick(window_.windowHandle(), Qt::RightButton, {}, QPoint(20, 20));
    auto* opened = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    ASSERT_NE(opened, nullptr);
    expectContrast(*opened, wanted_);
    opened->setActiveAction(opened->actions().constLast());
    expectContrast(*opened, wanted_);
    for (QAction* entry : opened->actions())
        if (entry->menu() != nullptr) expectContrast(*entry->menu(), wanted_);
    opened->close();
}

INSTANTIATE_TEST_SUITE_P(Desktops, PanelContrast, testing::Bool(),
                         [](const auto& desktop) { return desktop.param ? "high" : "ordinary"; });

TEST_F(PanelLooks, ThePanelItselfStaysAsItIs) {
    start(0);
    const QImage before = window_.grab().toImage();
    makeHighContrast();
    makeTextLarge();
    QCoreApplication::processEvents();
    EXPECT_EQ(window_.grab().toImage(), before);
}

TEST_F(PanelLooks, TheMenuFollowsTheDesktopWhenItIsOpenedAgain) {
    start(0);
    ProgramLanguage language(bundle_, store_);
    const PanelMenu menu(window_, bundle_, language);
    const auto corner = [this] {
        QTest::mouseClick(window_.windowHandle(), Qt::RightButton, {}, QPoint(20, 20));
        QWidget* opened = QApplication::activePopupWidget();
        const QColor seen = opened->grab().toImage().pixelColor(4, 4);
        opened->close();
        return seen;
    };
    EXPECT_EQ(corner(), QColor(49, 49, 49));
    makeHighContrast();
    EXPECT_EQ(corner(), QColor(Qt::black));
}

TEST_F(PanelLooks, LargeTextIsNotCutOff) {
    makeTextLarge();
    start(1);
    const std::unique_ptr<QDialog> about(openAbout());
    ASSERT_NE(about, nullptr);
    expectNothingIsCutOff(*about);
    showSoftwareList(about.get(), bundle_);
    expectNothingIsCutOff(*about->findChild<QDialog*>(QStringLiteral("softwareList")));
    const ControlCatalog catalog;
    AllControls allControls(panel(), bundle_, catalog, window_);
    allControls.show();
    ASSERT_TRUE(waitFor([&] { return !allControls.window()->lines().empty(); }));
    QCoreApplication::processEvents();
    expectNothingIsCutOff(*allControls.window());
    EXPECT_EQ(allControls.window()->width(), 2 * 660);
}

} // namespace
} // namespace tavelo
