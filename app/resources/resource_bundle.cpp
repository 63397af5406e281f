// SPDX-License-Identifier: MIT
#include "app/resources/resource_bundle.h"

#include <algorithm>
#include <utility>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>

namespace tavelo {
namespace {

std::vector<std::string> desktopLanguages() {
    std::vector<std::string> names;
    const QStringList languages = QLocale::system().uiLanguages();
    for (const QString& language : languages) {
        std::string name = languageName(language.toStdString());
        // Qt lists a language once for each spelling of its name.
        if (std::ranges::find(names, name) == names.end()) names.push_back(std::move(name));
    }
    return names;
}

QJsonObject readObject(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return {};
    return QJsonDocument::fromJson(file.readAll()).object();
}

} // namespace

std::string languageName(std::string_view name) {
    const QLocale locale(QString::fromUtf8(name));
    if (locale.language() == QLocale::C) return "en-US";
    QString result = QLocale::languageToCode(locale.language());
    if (locale.language() == QLocale::Chinese) result += u'-' + QLocale::scriptToCode(locale.script());
    const QString territory = QLocale::territoryToCode(locale.territory());
    if (!territory.isEmpty()) result += u'-' + territory;
    return result.toStdString();
}

ResourceBundle::ResourceBundle() : ResourceBundle(desktopLanguages()) {}

ResourceBundle::ResourceBundle(std::vector<std::string> preferredLanguages)
    : desktopLanguages_(std::move(preferredLanguages)),
      tables_(readTables()) {}

std::vector<ResourceBundle::Table> ResourceBundle::readTables() {
    std::vector<Table> tables;
    const QFileInfoList files = QDir(QStringLiteral(":/strings")).entryInfoList();
    for (const QFileInfo& file : files) {
        const QJsonObject object = readObject(file.filePath());
        Table& table = tables.emplace_back();
        table.localization = file.completeBaseName().toStdString();
        table.position = object.value(QLatin1String("menu_position")).toInt();
        for (auto entry = object.begin(); entry != object.end(); ++entry)
            if (entry.value().isString())
                table.texts.emplace(entry.key().toStdString(), entry.value().toString().toStdString());
    }
    std::ranges::stable_sort(tables, {}, &Table::position);
    return tables;
}

std::vector<std::string> ResourceBundle::localizations() const {
    std::vector<std::string> names;
    for (const Table& table : tables_)
        names.push_back(table.localization);
    return names;
}

std::vector<std::string> ResourceBundle::preferredLanguages() const {
    std::vector<std::string> languages = desktopLanguages_;
    if (!chosenLanguage_.empty()) languages.insert(languages.begin(), chosenLanguage_);
    return languages;
}

std::optional<std::string> ResourceBundle::string(std::string_view localization, std::string_view key) const {
    const auto table = std::ranges::find(tables_, localization, &Table::localization);
    if (table == tables_.end()) return std::nullopt;
    const auto text = table->texts.find(key);
    if (text == table->texts.end()) return std::nullopt;
    return text->second;
}

std::string ResourceBundle::localizedString(std::string_view key, std::string_view defaultValue) const {
    const Table& table = systemTable();
    const auto text = table.texts.find(key);
    if (text != table.texts.end()) return text->second;
    return std::string(defaultValue.empty() ? key : defaultValue);
}

// The table of the most preferred language that has one.
const ResourceBundle::Table& ResourceBundle::systemTable() const {
    for (const std::string& language : preferredLanguages()) {
        for (const Table& table : tables_) {
            if (language.starts_with(table.localization)) return table;
        }
    }
    return tables_.front();
}

} // namespace tavelo
