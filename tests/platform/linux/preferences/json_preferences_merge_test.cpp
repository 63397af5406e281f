// SPDX-License-Identifier: MIT
// What two programs changed in one value meanwhile.
#include "platform/linux/preferences/json_preferences_merge.h"

#include <gtest/gtest.h>

#include <QJsonArray>
#include <QJsonDocument>

namespace tavelo {
namespace {

struct Merge {
    const char* name;
    const char* base; ///< empty if the key was absent
    const char* ours;
    const char* theirs; ///< empty if the file has no such key
    const char* result;
};

QJsonValue valueOf(const char* text) {
    const QByteArray array = '[' + QByteArray(text) + ']';
    const QJsonDocument parsed = QJsonDocument::fromJson(array);
    EXPECT_TRUE(parsed.isArray()) << text;
    return parsed.array().at(0); // undefined if there is none
}

class JsonMerge : public ::testing::TestWithParam<Merge> {};

TEST_P(JsonMerge, ChangesOnlyWhatDiffersFromTheBase) {
    const QString key = QStringLiteral("camera");
    QJsonObject file{{QStringLiteral("other"), 5}};
    if (const QJsonValue theirs = valueOf(GetParam().theirs); !theirs.isUndefined()) file.insert(key, theirs);
    const QJsonObject result =
        withChanges(file, {{key, {valueOf(GetParam().base), valueOf(GetParam().ours)}}});
    EXPECT_EQ(result.value(key), valueOf(GetParam().result))
        << QJsonDocument(result).toJson(QJsonDocument::Compact).toStdString();
    EXPECT_EQ(result.value(QStringLiteral("other")), 5);
}

INSTANTIATE_TEST_SUITE_P(
    Values, JsonMerge,
    ::testing::Values(
        Merge{"ANewKey", "", "1", "", "1"}, Merge{"AKeyThatTheFileLost", "1", "2", "", "2"},
        Merge{"TheSameValueOfAKeyThatTheFileLost", "1", "1", "", "1"},
        Merge{"AnEntryThatWeChangedAndTheyRemoved", R"({"a": 1})", R"({"a": 2})", "{}", R"({"a": 2})"},
        Merge{"ANumber", "1", "2", "1", "2"}, Merge{"ANumberThatTheyChanged", "1", "1", "2", "2"},
        Merge{"ANumberThatBothChanged", "1", "2", "3", "2"},
        Merge{"AKeyThatBothAdded", "", "{\"a\": 1}", "{\"b\": 2}", "{\"a\": 1}"},
        Merge{"DifferentEntries", R"({"a": 1, "b": 1})", R"({"a": 2, "b": 1})", R"({"a": 1, "b": 3})",
              R"({"a": 2, "b": 3})"},
        Merge{"TheSameEntry", R"({"a": 1})", R"({"a": 2})", R"({"a": 3})", R"({"a": 2})"},
        Merge{"EntriesThatEachAdded", R"({})", R"({"a": 1})", R"({"b": 2})", R"({"a": 1, "b": 2})"},
        Merge{"AnEntryThatWeRemoved", R"({"a": 1, "b": 1})", R"({"b": 1})", R"({"a": 1, "b": 2})",
              R"({"b": 2})"},
        Merge{"AnEntryThatTheyRemoved", R"({"a": 1, "b": 1})", R"({"a": 1, "b": 2})", R"({"b": 1})",
              R"({"b": 2})"},
        Merge{"EntriesOfEntries", R"([{"a": [1, 1], "b": 1}, 7])", R"([{"a": [2, 1], "b": 1}, 7])",
              R"([{"a": [1, 3], "b": 4}, 8])", R"([{"a": [2, 3], "b": 4}, 8])"},
        Merge{"AListThatTheyMadeLonger", "[1, 2]", "[1, 3]", "[1, 2, 4]", "[1, 3, 4]"},
        Merge{"AListThatTheyMadeShorter", "[1, 2, 3]", "[4, 2, 3]", "[1, 2]", "[4, 2, 3]"},
        Merge{"AListThatWeMadeShorter", "[1, 2, 3]", "[1]", "[5, 2, 3, 6]", "[5, 6]"},
        Merge{"AListThatBothMadeLonger", "[1]", "[1, 2]", "[1, 3, 4]", "[1, 2, 4]"},
        Merge{"AListThatBecameADictionary", "[1]", "[2]", R"({"a": 1})", "[2]"},
        Merge{"ADictionaryThatBecameANumber", R"({"a": 1})", "3", R"({"a": 2})", "3"}),
    [](const auto& merge) { return std::string(merge.param.name); });

} // namespace
} // namespace tavelo
