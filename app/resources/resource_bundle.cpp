// SPDX-License-Identifier: MIT
#include "app/resources/resource_bundle.h"

#include <algorithm>
#include <utility>

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>
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

QByteArray contentOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
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

std::vector<StringTable> ResourceBundle::readTables() {
    std::vector<StringTable> tables;
    const QFileInfoList files = QDir(QStringLiteral(":/strings")).entryInfoList();
    for (const QFileInfo& file : files)
        tables.push_back(
            stringTableOf(file.completeBaseName().toStdString(), contentOf(file.filePath()).toStdString()));
    std::ranges::stable_sort(tables, {}, &StringTable::position);
    return tables;
}

std::vector<std::string> ResourceBundle::localizations() const {
    std::vector<std::string> names;
    for (const StringTable& table : tables_)
        names.push_back(table.localization);
    return names;
}

std::vector<std::string> ResourceBundle::preferredLanguages() const {
    std::vector<std::string> languages = desktopLanguages_;
    if (!chosenLanguage_.empty()) languages.insert(languages.begin(), chosenLanguage_);
    return languages;
}

std::optional<std::string> ResourceBundle::string(std::string_view localization, std::string_view key) const {
    const auto table = std::ranges::find(tables_, localization, &StringTable::localization);
    if (table == tables_.end()) return std::nullopt;
    const auto text = table->texts.find(key);
    if (text == table->texts.end()) return std::nullopt;
    return text->second;
}

std::string ResourceBundle::localizedString(std::string_view key, std::string_view defaultValue) const {
    const StringTable& table = systemTable();
    const auto text = table.texts.find(key);
    if (text != table.texts.end()) return text->second;
    return std::string(defaultValue.empty() ? key : defaultValue);
}

// The table of the most preferred language that has one.
const StringTable& ResourceBundle::systemTable() const {
    for (const std::string& language : preferredLanguages()) {
        for (const StringTable& table : tables_) {
            if (language.starts_with(table.localization)) return table;
        }
    }
    return tables_.front();
}

} // namespace tavelo
