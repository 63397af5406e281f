// SPDX-License-Identifier: MIT
// The arguments of calls on the session bus.
//
// Input: a byte for the kind of each value, its bytes, and for the entries of a dictionary its name before
// that.
#include <QString>
#include <QVariantMap>
#include <bit>
#include <string>

#include "commands/control_names.h"
#include "fuzz_expect.h"
#include "fuzz_input.h"
#include "service/arguments.h"
#include "service/values.h"

namespace {

using namespace tavelo;
using tavelo::fuzz::expect;
using tavelo::fuzz::FuzzInput;

double doubleOf(FuzzInput& input) {
    const std::uint64_t low = input.number();
    return std::bit_cast<double>(low | std::uint64_t{input.number()} << 32U);
}

QString textOf(FuzzInput& input) {
    // Qt checks the encoding of what comes from the bus.
    const auto text = input.text();
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

QVariant valueOf(FuzzInput& input) {
    switch (input.byte() % 9) {
        case 0:
            return textOf(input);
        case 1:
            return (input.byte() & 1U) != 0;
        case 2:
            return QVariant::fromValue(static_cast<uchar>(input.byte()));
        case 3:
            return QVariant::fromValue(static_cast<short>(input.number(2)));
        case 4:
            return static_cast<int>(input.number());
        case 5:
            return static_cast<uint>(input.number());
        case 6:
            return QVariant::fromValue(std::bit_cast<qulonglong>(doubleOf(input)));
        case 7:
            return QVariantMap{{textOf(input), textOf(input)}};
        default:
            return doubleOf(input);
    }
}

QVariantMap dictionaryOf(FuzzInput& input) {
    // Most of them name controls.
    QVariantMap map;
    for (int left = input.byte() % 80; left > 0 && !input.isEmpty(); --left) {
        const std::uint8_t choice = input.byte();
        const auto controls = namedControls();
        const QString name = choice < controls.size()
                                 ? QString::fromUtf8(controls[choice].name.data(),
                                                     static_cast<qsizetype>(controls[choice].name.size()))
                                 : textOf(input);
        map.insert(name, valueOf(input));
    }
    return map;
}

void lookAtNames(const QString& text) {
    ServiceError error;
    const auto camera = arguments::camera(text, error);
    expect(camera.has_value() == error.text.empty());
    error = {};
    const auto file = arguments::file(text, error);
    expect(file.has_value() == error.text.empty());
    if (file) expect(file->starts_with('/') && !file->ends_with('/'));
}

void lookAtNumbers(FuzzInput& input) {
    ServiceError error;
    const auto profile = arguments::profile(input.number(), error);
    expect(profile ? *profile >= 0 && *profile < 4 : error.kind == ServiceError::Kind::invalid);
    const auto length = arguments::length(doubleOf(input), error);
    if (length && length->seconds) expect(length->seconds->count() >= 0.1 && length->seconds->count() <= 1e6);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    lookAtNames(textOf(input));
    lookAtNumbers(input);
    ServiceError error;
    const QVariantMap options = (input.byte() & 1U) != 0
                                    ? QVariantMap{{QStringLiteral("force"), valueOf(input)}}
                                    : dictionaryOf(input);
    const auto set = arguments::setOptions(options, error);
    expect(set.has_value() == error.text.empty());
    error = {};
    const QVariantMap values = dictionaryOf(input);
    const auto changes = changesOf(values, controlNamed, error);
    expect(changes.has_value() == error.text.empty());
    if (!changes) return 0;
    expect(std::ssize(*changes) == values.size());
    for (const ControlChange& change : *changes)
        expect(change.control != nullptr && change.number == change.number);
    return 0;
}
