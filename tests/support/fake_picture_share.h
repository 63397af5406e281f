// SPDX-License-Identifier: MIT
// A share that keeps the pictures it is given.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "platform/picture_share.h"

namespace tavelo::testing {

class FakePictureShare final : public PictureShare {
public:
    void setCameraName(const std::string& name) override {
        const std::lock_guard lock(mutex_);
        names_.push_back(name);
    }
    void noteFrame(std::size_t width, std::size_t height, const MediaTime&) override {
        const std::lock_guard lock(mutex_);
        sizes_.emplace_back(width, height);
    }
    SharedPicture wanted() const override { return wants; }
    bool hasRoom() override {
        ++roomAsked;
        return room;
    }
    void share(const SampleBuffer& sample) override {
        const std::lock_guard lock(mutex_);
        samples_.push_back(sample);
    }
    Error trouble() const override { return troubled ? Error{ErrorCode::gone, "away"} : Error(); }

    std::vector<SampleBuffer> take() {
        const std::lock_guard lock(mutex_);
        return std::exchange(samples_, {});
    }
    std::vector<std::string> names() const {
        const std::lock_guard lock(mutex_);
        return names_;
    }
    std::vector<std::pair<std::size_t, std::size_t>> sizes() const {
        const std::lock_guard lock(mutex_);
        return sizes_;
    }

    std::atomic<SharedPicture> wants = SharedPicture::none;
    std::atomic<bool> room = true;
    std::atomic<bool> troubled = false;
    std::atomic<int> roomAsked = 0;

private:
    mutable std::mutex mutex_; // guards the members below
    std::vector<SampleBuffer> samples_;
    std::vector<std::string> names_;
    std::vector<std::pair<std::size_t, std::size_t>> sizes_;
};

/// Keeps the last share as long as somebody else does.
class FakePictureSharePlatform final : public PictureSharePlatform {
public:
    std::shared_ptr<PictureShare> makeShare(const std::string& cameraName, Error& error) override {
        if (fails) {
            error = {ErrorCode::failed, "no way to share"};
            return nullptr;
        }
        auto share = std::make_shared<FakePictureShare>();
        share->setCameraName(cameraName);
        last = share;
        return share;
    }

    bool fails = false;
    std::weak_ptr<FakePictureShare> last;
};

} // namespace tavelo::testing
