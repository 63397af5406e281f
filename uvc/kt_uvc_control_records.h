// SPDX-License-Identifier: MIT
// The live records of all controls, by name and by index.
#pragma once

#include <array>
#include <memory>
#include <utility>

#include "uvc/control_table.h"
#include "uvc/kt_uvc_parameters.h"

namespace tavelo {

class Localizer;

/// One record for each row of the control table.
///
/// The accessor with a record's name and its entry in parametersArray() give the same record.  Reading is
/// thread-safe; replace a record only while no other thread uses the manager.
class KTUVCControlRecords {
public:
    using Record = std::shared_ptr<KTUVCParameters>;

    /// In the order of their tags.
    const std::array<Record, controlCount>& parametersArray() const { return records_; }

    /// Null only if set so; the control then counts as missing from the camera.
    const Record& record(KTUVCControl control) const { return records_[indexOf(control)]; }
    void setRecord(KTUVCControl control, Record record) { records_[indexOf(control)] = std::move(record); }

    const Record& scanningMode() const { return record(KTUVCControl::scanningMode); }
    void setScanningMode(Record record) { setRecord(KTUVCControl::scanningMode, std::move(record)); }

    const Record& autoExposureMode() const { return record(KTUVCControl::autoExposureMode); }
    void setAutoExposureMode(Record record) { setRecord(KTUVCControl::autoExposureMode, std::move(record)); }

    const Record& autoExposurePriority() const { return record(KTUVCControl::autoExposurePriority); }
    void setAutoExposurePriority(Record record) {
        setRecord(KTUVCControl::autoExposurePriority, std::move(record));
    }

    const Record& exposureTime() const { return record(KTUVCControl::exposureTime); }
    void setExposureTime(Record record) { setRecord(KTUVCControl::exposureTime, std::move(record)); }

    const Record& iris() const { return record(KTUVCControl::iris); }
    void setIris(Record record) { setRecord(KTUVCControl::iris, std::move(record)); }

    const Record& autoFocus() const { return record(KTUVCControl::autoFocus); }
    void setAutoFocus(Record record) { setRecord(KTUVCControl::autoFocus, std::move(record)); }

    const Record& focus() const { return record(KTUVCControl::focus); }
    void setFocus(Record record) { setRecord(KTUVCControl::focus, std::move(record)); }

    const Record& zoom() const { return record(KTUVCControl::zoom); }
    void setZoom(Record record) { setRecord(KTUVCControl::zoom, std::move(record)); }

    const Record& panTilt() const { return record(KTUVCControl::panTilt); }
    void setPanTilt(Record record) { setRecord(KTUVCControl::panTilt, std::move(record)); }

    const Record& roll() const { return record(KTUVCControl::roll); }
    void setRoll(Record record) { setRecord(KTUVCControl::roll, std::move(record)); }

    const Record& backlight() const { return record(KTUVCControl::backlight); }
    void setBacklight(Record record) { setRecord(KTUVCControl::backlight, std::move(record)); }

    const Record& bright() const { return record(KTUVCControl::bright); }
    void setBright(Record record) { setRecord(KTUVCControl::bright, std::move(record)); }

    const Record& contrast() const { return record(KTUVCControl::contrast); }
    void setContrast(Record record) { setRecord(KTUVCControl::contrast, std::move(record)); }

    const Record& gain() const { return record(KTUVCControl::gain); }
    void setGain(Record record) { setRecord(KTUVCControl::gain, std::move(record)); }

    const Record& powerLine() const { return record(KTUVCControl::powerLine); }
    void setPowerLine(Record record) { setRecord(KTUVCControl::powerLine, std::move(record)); }

    const Record& autoHue() const { return record(KTUVCControl::autoHue); }
    void setAutoHue(Record record) { setRecord(KTUVCControl::autoHue, std::move(record)); }

    const Record& hue() const { return record(KTUVCControl::hue); }
    void setHue(Record record) { setRecord(KTUVCControl::hue, std::move(record)); }

    const Record& saturation() const { return record(KTUVCControl::saturation); }
    void setSaturation(Record record) { setRecord(KTUVCControl::saturation, std::move(record)); }

    const Record& sharpness() const { return record(KTUVCControl::sharpness); }
    void setSharpness(Record record) { setRecord(KTUVCControl::sharpness, std::move(record)); }

    const Record& gamma() const { return record(KTUVCControl::gamma); }
    void setGamma(Record record) { setRecord(KTUVCControl::gamma, std::move(record)); }

    const Record& autoWhiteBalance() const { return record(KTUVCControl::autoWhiteBalance); }
    void setAutoWhiteBalance(Record record) { setRecord(KTUVCControl::autoWhiteBalance, std::move(record)); }

    const Record& whiteBalance() const { return record(KTUVCControl::whiteBalance); }
    void setWhiteBalance(Record record) { setRecord(KTUVCControl::whiteBalance, std::move(record)); }

protected:
    KTUVCControlRecords() = default;
    ~KTUVCControlRecords() = default;

    /// Recreates all records.
    /// @param text may be null: names and labels are then English
    void initParameters(const Localizer* text);

private:
    std::array<Record, controlCount> records_;
};

} // namespace tavelo
