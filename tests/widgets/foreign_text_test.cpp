// SPDX-License-Identifier: MIT
#include "widgets/foreign_text.h"

#include <gtest/gtest.h>

#include <QTextDocument>
#include <QTextDocumentFragment>

namespace tavelo {
namespace {

TEST(ForeignName, OrdinaryNamesStayAsTheyAre) {
    for (const char* name : {"Tavelo Camera", "HD Webcam: 5 < 6 & 7", "カメラ", "Kamera (ä)", ""})
        EXPECT_EQ(foreignName(name).toStdString(), name);
}

TEST(ForeignName, RightToLeftNamesAreIsolatedFromTheTextAround) {
    EXPECT_EQ(foreignName("מצלמה").toStdString(), "\u2068מצלמה\u2069");
    EXPECT_EQ(foreignName("HD كاميرا 2").toStdString(), "\u2068HD كاميرا 2\u2069");
}

TEST(ForeignName, HasNoCharactersThatBreakOrReorderALine) {
    EXPECT_EQ(foreignName("a\nb\tc\u2028d\u2029e\u0007").toStdString(), "abcde");
    EXPECT_EQ(foreignName("a\u202ab\u202bc\u202cd\u202de\u202ef").toStdString(), "abcdef");
    EXPECT_EQ(foreignName("a\u2066b\u2067c\u2068d\u2069e").toStdString(), "abcde");
    EXPECT_EQ(foreignName("\u2069מ\u202e").toStdString(), "\u2068מ\u2069");
}

TEST(PlainToolTip, ShowsTagsAsTheyAre) {
    const QString name = QStringLiteral("<b>5 &amp; 6</b> <img src=\"/etc/passwd\">");
    const QString tip = plainToolTip(name);
    EXPECT_NE(tip, name);
    EXPECT_EQ(QTextDocumentFragment::fromHtml(tip).toPlainText(), name);
}

TEST(PlainToolTip, LeavesPlainTextAlone) {
    for (const QString& text : {QStringLiteral("HD Webcam: 5 < 6 & 7"), QStringLiteral("two\nlines")})
        EXPECT_EQ(plainToolTip(text), text);
}

} // namespace
} // namespace tavelo
