// SPDX-License-Identifier: MIT
#include "app/preview_tip.h"

#include <utility>

#include "widgets/foreign_text.h"
#include "widgets/localized_text.h"

namespace tavelo {

PreviewTip::PreviewTip(QWidget* preview, const Bundle& bundle, Diagnostics& diagnostics)
    : preview_(preview),
      bundle_(bundle),
      diagnostics_(diagnostics) {}

void PreviewTip::show(const PictureStatus& status) {
    if (preview_ != nullptr) {
        const bool explains = status.kind != PictureStatus::Kind::shown;
        preview_->setToolTip(explains ? plainToolTip(statusText(status, bundle_))
                                      : localizedText(bundle_, "Tip_preview"));
    }
    const auto advice = adviceFor(status);
    const std::string line = advice ? advice->subject + advice->text : std::string();
    if (std::exchange(reported_, line) != line && advice) diagnostics_.report(advice->subject, advice->text);
}

} // namespace tavelo
