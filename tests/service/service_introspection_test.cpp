// SPDX-License-Identifier: MIT
// The running service describes itself as the installed file does.
#include <QFile>
#include <QRegularExpression>
#include <QXmlStreamReader>
#include <algorithm>

#include "service/service_fixture.h"

namespace tavelo {
namespace {

/// "method Get", "method Get in s camera", "property ShownCamera s read" and so on, sorted.
QStringList elementsOf(const QString& text) {
    QStringList lines;
    QXmlStreamReader xml(text);
    QString member;
    bool isOurs = false;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement) continue;
        const QXmlStreamAttributes attributes = xml.attributes();
        const auto has = [&](const char* name) { return attributes.value(QLatin1String(name)).toString(); };
        const QString element = xml.qualifiedName().toString();
        if (element == QLatin1String("interface"))
            isOurs = has("name") == bus_names::interface;
        else if (!isOurs)
            continue;
        else if (element == QLatin1String("arg"))
            // Signals have no directions.  The position decides, so the order stays.
            lines.append(
                member + QStringLiteral(" %1 ").arg(lines.size(), 3, 10, QLatin1Char('0')) +
                (has("direction") == QLatin1String("in") ? QStringLiteral("in ") : QStringLiteral("out ")) +
                has("type") + QLatin1Char(' ') + has("name"));
        else if (element == QLatin1String("method") || element == QLatin1String("signal"))
            lines.append(member = element + QLatin1Char(' ') + has("name"));
        else if (element == QLatin1String("property"))
            lines.append(QStringLiteral("property ") + has("name") + QLatin1Char(' ') + has("type") +
                         QLatin1Char(' ') + has("access"));
    }
    EXPECT_FALSE(xml.hasError()) << xml.errorString().toStdString();
    // Members in any order, each with its arguments in theirs.
    std::ranges::stable_sort(lines, {},
                             [](const QString& line) { return line.section(QLatin1Char(' '), 0, 1); });
    return lines.replaceInStrings(QRegularExpression(QStringLiteral(" [0-9]{3} ")), QStringLiteral(" "));
}

class ServiceIntrospection : public ServiceTest {
protected:
    static QString file() {
        QFile file(QStringLiteral(INTROSPECTION_FILE));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return QString::fromUtf8(file.readAll());
    }
};

TEST_F(ServiceIntrospection, RunningServiceIsWhatTheFileSays) {
    const QDBusPendingCall pending = client_.asyncCall(QDBusMessage::createMethodCall(
        bus_.baseService(), bus_names::object, QStringLiteral("org.freedesktop.DBus.Introspectable"),
        QStringLiteral("Introspect")));
    EXPECT_TRUE(waitFor([&] { return pending.isFinished(); }));
    const QStringList running = elementsOf(pending.reply().arguments().value(0).toString());
    const QStringList described = elementsOf(file());
    EXPECT_GT(described.size(), 30);
    EXPECT_EQ(running.join(QLatin1Char('\n')).toStdString(), described.join(QLatin1Char('\n')).toStdString());
}

TEST_F(ServiceIntrospection, FileDocumentsEveryMember) {
    const QString text = file();
    for (const QString& line : elementsOf(text)) {
        const QString name = line.section(QLatin1Char(' '), 1, 1);
        EXPECT_TRUE(text.contains(QStringLiteral("      %1: ").arg(name))) << name.toStdString();
    }
    const auto members = text.count(QRegularExpression(QStringLiteral("<(method|signal|property) ")));
    EXPECT_EQ(members, text.count(QStringLiteral("<doc:summary>")));
}

} // namespace
} // namespace tavelo
