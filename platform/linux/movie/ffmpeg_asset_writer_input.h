// SPDX-License-Identifier: MIT
// The inputs of the movie writer.
#pragma once

#include <optional>
#include <variant>

#include "platform/asset_writer.h"

namespace tavelo {

/// The part of an input's work that its writer does.
class MovieSampleTaker {
public:
    virtual ~MovieSampleTaker() = default;

    virtual bool isReady(MediaType type) const = 0;
    virtual bool append(MediaType type, const SampleBuffer& sample) = 0;
};

/// Knows its settings and its writer.  Thread-bound to the thread that feeds the writer.
class FfmpegAssetWriterInput final : public AssetWriterInput {
public:
    using Settings = std::variant<std::optional<VideoSettings>, std::optional<AudioSettings>>;

    explicit FfmpegAssetWriterInput(Settings settings) : settings_(settings) {}

    /// Null if there are no settings, or those of the other type.
    const VideoSettings* videoSettings() const { return settingsOf<VideoSettings>(); }
    const AudioSettings* audioSettings() const { return settingsOf<AudioSettings>(); }

    /// Null once the writer is gone.
    void setTaker(MovieSampleTaker* taker) { taker_ = taker; }

    MediaType mediaType() const override {
        return settings_.index() == 0 ? MediaType::video : MediaType::audio;
    }
    void setExpectsMediaDataInRealTime(bool realTime) override { realTime_ = realTime; }
    bool expectsMediaDataInRealTime() const override { return realTime_; }
    bool isReadyForMoreMediaData() const override {
        return taker_ != nullptr && !finished_ && taker_->isReady(mediaType());
    }
    bool appendSampleBuffer(const SampleBuffer& sample) override {
        return taker_ != nullptr && !finished_ && taker_->append(mediaType(), sample);
    }
    void markAsFinished() override { finished_ = true; }

private:
    template <typename T>
    const T* settingsOf() const {
        const auto* settings = std::get_if<std::optional<T>>(&settings_);
        return settings != nullptr && settings->has_value() ? &**settings : nullptr;
    }

    const Settings settings_;
    MovieSampleTaker* taker_ = nullptr;
    bool realTime_ = false;
    bool finished_ = false;
};

} // namespace tavelo
