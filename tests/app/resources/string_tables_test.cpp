// SPDX-License-Identifier: MIT
#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>

#include <QDir>
#include <QFile>
#include <QFont>
#include <QFontMetricsF>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include "app/resources/resource_bundle.h"

namespace tavelo {
namespace {

constexpr std::array keys{
    // Camera controls.
    "scanning_mode", "auto_exposure", "exposure_priority", "exposure_time", "iris", "auto_focus", "focus",
    "zoom", "pan_tilt", "roll", "backlight_compensation", "bright", "contrast", "gain",
    "power_line_frequencey", "auto_hue", "hue", "saturation", "sharpness", "gamma", "auto_white_balance",
    "white_balance",
    // Choices of menu controls.
    "interlaced", "progressive", "manual_exposure_manual_iris", "auto_exposure_auto_iris",
    "manual_exposure_auto_iris", "auto_exposure_manual_iris",
    // The panel.
    "Mirror", "Pan_left_right", "Pan_up_down", "Zoom", "Sharpness", "White_Balance", "Saturation", "Contrast",
    "Brightness", "PROFILE", "SAVE_TO_PROFILE", "RESTORE_PROFILE_TO_DEFAULT", "Saved_successfully", "Preview",
    "Minimise", "Close", "OK",
    // The context menu.
    "About", "Reconnect_camera", "Language", "language_name", "System_language", "Quit", "No_camera",
    "Waiting_for_picture", "In_use_by", "In_use_by_another_program", "Program_and_process", "No_permission",
    "No_picture", "Frames_per_second", "Save_picture", "Record", "Stop_recording", "Record_sound",
    "Sound_missing", "Show_file", "Not_saved", "Folder_missing", "Folder_read_only", "Folder_denied",
    "Folder_full", "Folder_fails", "Always_on_top", "Full_screen", "Share_picture", "Picture_is_shared",
    "Not_shared",
    // The window is closed.
    "Camera_is_on", "Camera_is_released", "Show_window", "Release_camera", "Still_running", "Start_again",
    // Tool tips.
    "Tip_slider", "Tip_zoom", "Tip_tilt", "Tip_pan", "Tip_ruled", "Tip_value", "Tip_mirror", "Tip_mains",
    "Tip_profile", "Tip_save", "Tip_restore", "Tip_space", "Tip_preview",
    // The window of all controls.
    "All_controls", "Camera", "Image_processing", "Extras", "Defaults", "Send_all", "Default_value", "Set_by",
    "No_controls", "Off", "Automatic",
    // The about panel.
    "Third_party_open_source_software_used", "Open_source_software", "Software", "Licence"};

QJsonObject readTable(const std::string& localization) {
    QFile file(QStringLiteral(":/strings/%1.json").arg(QString::fromStdString(localization)));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    QJsonParseError error;
    const QJsonObject table = QJsonDocument::fromJson(file.readAll(), &error).object();
    EXPECT_EQ(error.error, QJsonParseError::NoError) << error.errorString().toStdString();
    return table;
}

std::vector<std::string> localizations() {
    return ResourceBundle({"en-US"}).localizations();
}

class StringTable : public testing::TestWithParam<std::string> {
protected:
    std::string text(std::string_view key) const {
        return ResourceBundle({"en-US"}).string(GetParam(), key).value_or(std::string());
    }

    // Width in points of a text in the panel's font, or in a font with the same metrics if that one is
    // missing.
    static double width(const std::string& text, int size) {
        QFont font(QStringLiteral("Arial"));
        font.setPixelSize(size);
        double widest = 0;
        for (const QString& line : QString::fromStdString(text).split(u'\n'))
            widest = std::max(widest, QFontMetricsF(font).horizontalAdvance(line));
        return widest;
    }
};

TEST_P(StringTable, HasEveryKey) {
    for (const char* key : keys)
        EXPECT_FALSE(text(key).empty()) << key;
}

TEST_P(StringTable, HoldsNoKeyThatNothingAsksFor) {
    constexpr std::array others{"menu_position", "desktop", "glossary"};
    EXPECT_EQ(readTable(GetParam()).size(), static_cast<qsizetype>(keys.size() + others.size()));
}

TEST_P(StringTable, HoldsTheTextsForTheDesktop) {
    const QJsonObject desktop = readTable(GetParam()).value(QStringLiteral("desktop")).toObject();
    for (const char* key : {"locale", "GenericName", "Comment", "Keywords"})
        EXPECT_FALSE(desktop.value(QLatin1String(key)).toString().isEmpty()) << key;
    EXPECT_EQ(desktop.value(QStringLiteral("description")).toArray().size(), 2);
    EXPECT_EQ(desktop.size(), 5);
}

TEST_P(StringTable, FitsTheProfileButtons) {
    constexpr double margin = 8; // left and right together
    EXPECT_LE(width(text("PROFILE") + " 4", 10), 119 - margin);
    EXPECT_LE(width(text("SAVE_TO_PROFILE"), 10), 119 - margin);
    EXPECT_LE(width(text("RESTORE_PROFILE_TO_DEFAULT"), 10), 180 - margin);
}

TEST_P(StringTable, HasDifferentWordsForPanAndTilt) {
    const auto firstWord = [this](const char* key) {
        const std::string title = text(key);
        return title.substr(0, std::min(title.find(" ("), title.find("（")));
    };
    const std::string pan = firstWord("Pan_left_right");
    const std::string tilt = firstWord("Pan_up_down");
    EXPECT_NE(pan, tilt);
    // The camera's combined control uses the same two words.
    EXPECT_THAT(text("pan_tilt"), testing::StartsWith(pan));
    EXPECT_THAT(text("pan_tilt"), testing::EndsWith(tilt));
}

TEST_P(StringTable, OnlyTheSaveTextNamesTheProfile) {
    EXPECT_THAT(text("SAVE_TO_PROFILE"), testing::HasSubstr(text("PROFILE")));
    EXPECT_THAT(text("RESTORE_PROFILE_TO_DEFAULT"), testing::Not(testing::HasSubstr(text("PROFILE"))))
        << "restoring sets the camera to its defaults and does not change the profile";
}

TEST_P(StringTable, FitsTheTitlesOfTheSliders) {
    for (const char* key : {"Pan_left_right", "Pan_up_down", "Zoom", "Sharpness", "White_Balance",
                            "Saturation", "Contrast", "Brightness"}) {
        EXPECT_LE(width(text(key), 16), 360) << key;
    }
}

TEST_P(StringTable, LeavesRoomForTheButtonsBesideTheMirrorTitle) {
    // The switch starts 64 points after the title's width, and the last button ends 236 points further
    // right.  The panel ends at 515.
    EXPECT_LE(width(text("Mirror"), 16) + 64 + 236, 515 - 20);
}

INSTANTIATE_TEST_SUITE_P(Every, StringTable, testing::ValuesIn(localizations()),
                         [](const testing::TestParamInfo<std::string>& table) {
                             std::string name = table.param;
                             std::erase(name, '-');
                             return name;
                         });

TEST(StringTables, AreTheLocalisationsOfTheBundle) {
    std::vector<std::string> files;
    for (const QString& file : QDir(QStringLiteral(STRING_TABLES)).entryList({QStringLiteral("*.json")}))
        files.push_back(file.chopped(5).toStdString());
    EXPECT_THAT(localizations(), testing::UnorderedElementsAreArray(files));
}

TEST(StringTables, StandInTheMenusOrder) {
    const std::vector<std::string> names = localizations();
    for (std::size_t i = 0; i < names.size(); ++i)
        EXPECT_EQ(readTable(names[i]).value(QStringLiteral("menu_position")).toInt(),
                  static_cast<int>(i + 1));
    const std::vector<std::string> first(names.begin(), names.begin() + 6);
    EXPECT_THAT(first, testing::ElementsAre("en", "zh-Hans", "ja", "de", "fr", "es"));
}

} // namespace
} // namespace tavelo
