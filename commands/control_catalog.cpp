// SPDX-License-Identifier: MIT
#include "commands/control_catalog.h"

#include <algorithm>
#include <iterator>
#include <span>
#include <utility>

namespace tavelo {
namespace {

std::vector<ChoiceWord> wordsOf(const ExtensionControl& control) {
    std::vector<ChoiceWord> words;
    for (const ExtensionChoice& choice : control.choices)
        words.push_back({choice.value, choice.word});
    if (control.form == ExtensionForm::toggle) std::ranges::copy(switchWords(), std::back_inserter(words));
    return words;
}

auto named(std::string_view name) {
    return [name](const NamedControl& each) { return isSameControlName(each.name, name); };
}

} // namespace

ControlCatalog::ControlCatalog(std::vector<ExtensionControl> extensions)
    : extensions_(std::move(extensions)) {
    words_.reserve(extensions_.size());
    named_.reserve(extensions_.size());
    for (const ExtensionControl& each : extensions_) {
        const auto& words = words_.emplace_back(wordsOf(each));
        named_.push_back({{}, ControlHalf::whole, each.name, {}, words, each.measure, &each});
    }
}

const NamedControl* ControlCatalog::find(std::string_view name, const BusProberDevice* camera) const {
    if (const NamedControl* ofTheClass = controlNamed(name)) return ofTheClass;
    const auto first = std::ranges::find_if(named_, named(name));
    const auto own = std::ranges::find_if(named_, [&](const NamedControl& each) {
        return isSameControlName(each.name, name) && unitOf(camera, *each.extension) != nullptr;
    });
    if (own != named_.end()) return &*own;
    return first != named_.end() ? &*first : nullptr;
}

bool ControlCatalog::needsCamera(std::string_view name) const {
    return controlNamed(name) == nullptr && std::ranges::count_if(named_, named(name)) > 1;
}

std::vector<const NamedControl*> ControlCatalog::controlsOf(const BusProberDevice* camera) const {
    std::vector<const NamedControl*> controls;
    for (const NamedControl& each : namedControls())
        controls.push_back(&each);
    for (const NamedControl& each : named_)
        if (unitOf(camera, *each.extension) != nullptr && find(each.name, camera) == &each)
            controls.push_back(&each);
    return controls;
}

const ExtensionUnit* unitOf(const BusProberDevice* camera, const ExtensionControl& control) {
    if (camera == nullptr) return nullptr;
    const auto found = std::ranges::find_if(camera->extensionUnits, [&](const ExtensionUnit& unit) {
        return unit.guid == control.unit && unit.selectors[control.selector];
    });
    return found != camera->extensionUnits.end() ? &*found : nullptr;
}

} // namespace tavelo
