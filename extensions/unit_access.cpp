// SPDX-License-Identifier: MIT
#include "extensions/unit_access.h"

#include "platform/uvc/little_endian.h"

namespace tavelo {
namespace {

constexpr std::size_t lengthBytes = 2; // of the answer to GET_LEN

UsbControlRequest requestFor(const ExtensionControl& control, std::uint16_t index, std::uint8_t type,
                             UvcRequest code, std::vector<std::uint8_t>& bytes) {
    UsbControlRequest request;
    request.bmRequestType = type;
    request.bRequest = codeOf(code);
    request.wValue = static_cast<std::uint16_t>(control.selector << 8U);
    request.wIndex = index;
    request.wLength = static_cast<std::uint16_t>(bytes.size());
    request.data = bytes.data();
    return request;
}

std::int64_t numberOf(const ExtensionControl& control, const std::vector<std::uint8_t>& bytes) {
    const std::int64_t number = control.field.valueIn(bytes);
    return control.form == ExtensionForm::toggle ? std::int64_t{number != 0} : number;
}

} // namespace

std::optional<std::vector<std::uint8_t>> UnitConnection::ask(const ExtensionControl& control,
                                                             UvcRequest request, std::size_t length) const {
    std::vector<std::uint8_t> bytes(length);
    UsbControlRequest wire = requestFor(control, index_, uvc::classInterfaceIn, request, bytes);
    if (!send_(wire)) return std::nullopt;
    if (wire.bytesDone < length) bytes.resize(wire.bytesDone);
    return bytes;
}

UnitAccess UnitConnection::accessTo(const ExtensionControl& control) const {
    using enum UnitAccess::Kind;
    const auto told = ask(control, UvcRequest::getLen, lengthBytes);
    if (!told) return {failed, 0};
    if (told->size() != lengthBytes) return {incapable, 0};
    const std::size_t length = wordAt(*told, 0);
    if (length != control.length) return {otherLength, length};
    const auto info = ask(control, UvcRequest::getInfo, 1);
    if (!info) return {failed, length};
    constexpr std::uint8_t needed = uvc::infoGet | uvc::infoSet;
    return {!info->empty() && (info->front() & needed) == needed ? usable : incapable, length};
}

std::optional<std::int64_t> UnitConnection::read(const ExtensionControl& control, UvcRequest request) const {
    const auto bytes = ask(control, request, control.length);
    if (!bytes || bytes->size() != control.length) return std::nullopt;
    return numberOf(control, *bytes);
}

std::optional<std::int64_t> UnitConnection::write(const ExtensionControl& control, std::int64_t value) const {
    if (!control.field.holds(value)) return std::nullopt;
    auto bytes = ask(control, UvcRequest::getCur, control.length);
    if (!bytes || bytes->size() != control.length) return std::nullopt;
    control.field.put(value, *bytes);
    UsbControlRequest wire = requestFor(control, index_, uvc::classInterfaceOut, UvcRequest::setCur, *bytes);
    // Nothing is written if the camera does not list the control.
    if (!send_(wire) || wire.bytesDone != control.length) return std::nullopt;
    // A camera may take another value than it was given.
    return read(control, UvcRequest::getCur).value_or(value);
}

} // namespace tavelo
