// SPDX-License-Identifier: MIT
// Applies a stored profile to one camera, and puts it back if another program changed it.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/clock.h"
#include "platform/preferences_store.h"
#include "watch/keeping_policy.h"
#include "watch/watched_camera.h"

namespace tavelo {

struct ProfileWatchOptions {
    /// Which of a camera's profiles, from 0; absent means the one that was last selected in the panel.
    std::optional<std::int64_t> profile;
    /// Whether to put back what other programs change.
    bool keep = false;
};

/// What the profiles come from and whom they concern.  The references must outlive their users.
struct ProfileWatchParts {
    PreferencesStore& store;
    Clock& clock;
    /// Whether a panel of this user shows a camera, in an open or a closed window.
    std::function<bool()> panelShowsCamera;
    std::function<void(const std::string& line)> print;
};

/// For as long as its camera is plugged in.  Main thread.
///
/// The stored profile is read anew each time.  What is put back follows three rules, so that nobody who is at
/// the controls is fought:
/// - While a panel of this user shows a camera nothing is put back: sliders that were moved are not saved
/// yet.
///   The camera is looked at once the panel has ended; closing its window only hides it.
/// - If the stored profile itself has changed, its new values count from now on, and nothing else is done.
/// - Other programs are answered as KeepingPolicy says.
///
/// A control that an automatic one rules is left alone, and a value that the camera rounded or refused is not
/// written again for that reason.
class ProfileKeeper {
public:
    /// The store learns of changes in its file a moment after it was asked.
    static constexpr std::chrono::milliseconds readingTime{200};
    static constexpr std::chrono::seconds panelInterval{5};
    /// After a camera did not answer.
    static constexpr std::chrono::seconds pauseAfterSilence{5};
    static constexpr int mostTries = 3;

    ProfileKeeper(WatchedCamera& camera, const ProfileWatchOptions& options, const ProfileWatchParts& parts);

    ProfileKeeper(const ProfileKeeper&) = delete;
    ProfileKeeper& operator=(const ProfileKeeper&) = delete;

    /// The camera was bound, or the machine slept: writes the whole profile a moment later.  Without keeping,
    /// the camera is closed afterwards until the next call, which it survives by being bound again: `bound`
    /// must lead here.
    void applySoon();

    /// Another program changed a control.
    void changed(KTUVCControl control);

private:
    struct Taken {
        std::int64_t wanted = 0;
        std::int64_t value = 0; ///< what the camera made of it
    };
    struct Stored {
        std::int64_t position = 0;
        PreferencesDictionary profile;
        friend bool operator==(const Stored&, const Stored&) = default;
    };

    template <typename F>
    void later(std::chrono::milliseconds time, F function);
    std::optional<Stored> stored() const;
    std::vector<KTUVCControl> differences(const PreferencesDictionary& profile) const;
    void applyAnew();
    void apply(const Stored& wanted, std::string because);
    void push();
    void pushed();
    void waitUntilDue();
    void look();
    void tell(const std::string& text) const;

    WatchedCamera& camera_;
    const ProfileWatchOptions& options_;
    const ProfileWatchParts& parts_;
    const std::string key_;

    KeepingPolicy policy_;
    bool waits_ = false; // for policy_.due()
    std::optional<Stored> wanted_;
    std::map<KTUVCControl, Taken> taken_;

    // Of the push under way.
    bool pushes_ = false;
    bool pauses_ = false;
    bool again_ = false; // something else is wanted meanwhile
    std::string because_;
    std::vector<KTUVCControl> refused_;
    int tries_ = 0;

    const std::shared_ptr<const bool> alive_ = std::make_shared<const bool>(true); // for late calls
};

} // namespace tavelo
