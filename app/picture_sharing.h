// SPDX-License-Identifier: MIT
// Shares the panel's picture with other programs.
#pragma once

#include <QObject>
#include <memory>
#include <string>

#include "platform/picture_share.h"

namespace tavelo {

class KTMTKView;

/// Off at every start: a camera that other programs see without being asked for would be spied through.  Main
/// thread.
class PictureSharing final : public QObject {
    Q_OBJECT

public:
    /// @param platform null if the machine has none
    explicit PictureSharing(std::shared_ptr<PictureSharePlatform> platform);
    /// Other programs lose the camera.
    ~PictureSharing() override;

    /// @param view must outlive this object
    void setView(KTMTKView& view);
    void setCameraName(const std::string& name);

    bool isOn() const { return share_ != nullptr; }
    /// Stays off, with a line on the standard error stream, if the machine cannot share.
    void setOn(bool on);

    /// Whether other programs do not see the camera that they should.
    bool fails() const;

Q_SIGNALS:
    /// Also if it should be on and is not.
    void changed();

private:
    void attach();

    const std::shared_ptr<PictureSharePlatform> platform_;
    KTMTKView* view_ = nullptr;
    std::string cameraName_;
    std::shared_ptr<PictureShare> share_; // null while it is off
    bool couldNotStart_ = false;
};

} // namespace tavelo
