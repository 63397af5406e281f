// SPDX-License-Identifier: MIT
#include "app/resources/resource_bundle.h"

#include <algorithm>
#include <array>
#include <utility>

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>

namespace tavelo {
namespace {

// English is first because it is the fallback.
constexpr std::array localizationNames{"en", "zh-Hans", "ja", "de", "fr", "es"};

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

QJsonObject readTable(const char* localization) {
    QFile file(QStringLiteral(":/strings/%1.json").arg(QLatin1String(localization)));
    if (!file.open(QIODevice::ReadOnly)) return {};
    return QJsonDocument::fromJson(file.readAll()).object();
}

} // namespace

std::string languageName(std::string_view name) {
    const QLocale locale(QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size())));
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
      tables_([] {
          std::map<std::string, Table, std::less<>> tables;
          for (const char* localization : localizationNames) {
              Table& table = tables[localization];
              const QJsonObject texts = readTable(localization);
              for (auto text = texts.begin(); text != texts.end(); ++text) {
                  table.emplace(text.key().toStdString(), text.value().toString().toStdString());
              }
          }
          return tables;
      }()) {}

std::vector<std::string> ResourceBundle::localizations() const {
    return {localizationNames.begin(), localizationNames.end()};
}

std::vector<std::string> ResourceBundle::preferredLanguages() const {
    std::vector<std::string> languages = desktopLanguages_;
    if (!chosenLanguage_.empty()) languages.insert(languages.begin(), chosenLanguage_);
    return languages;
}

std::optional<std::string> ResourceBundle::string(std::string_view localization, std::string_view key) const {
    const auto table = tables_.find(localization);
    if (table == tables_.end()) return std::nullopt;
    const auto text = table->second.find(key);
    if (text == table->second.end()) return std::nullopt;
    return text->second;
}

std::string ResourceBundle::localizedString(std::string_view key, std::string_view defaultValue) const {
    const Table& table = systemTable();
    const auto text = table.find(key);
    if (text != table.end()) return text->second;
    return std::string(defaultValue.empty() ? key : defaultValue);
}

// The table of the most preferred language that has one.
const ResourceBundle::Table& ResourceBundle::systemTable() const {
    for (const std::string& language : preferredLanguages()) {
        for (const char* localization : localizationNames) {
            if (language.starts_with(localization)) return tables_.find(localization)->second;
        }
    }
    return tables_.find("en")->second;
}

} // namespace tavelo
