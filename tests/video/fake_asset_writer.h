// SPDX-License-Identifier: MIT
// A fake movie writer that records its calls and fails on request.
#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/asset_writer.h"

namespace tavelo::testing {

/// Shared by a test and its fakes; outlives them.
struct WriterScript {
    void add(std::string call) {
        const std::lock_guard lock(mutex);
        calls.push_back(std::move(call));
    }
    std::vector<std::string> take() {
        const std::lock_guard lock(mutex);
        return std::exchange(calls, {});
    }

    bool refuseWriter = false;
    bool refuseVideo = false;
    bool refuseAudio = false;
    bool refuseStart = false;
    bool refuseSamples = false;
    bool ready = true;
    bool finishAtOnce = true;
    Error error{ErrorCode::refused, "the writer's error", "fake"}; // error of a failed writer
    std::optional<VideoSettings> videoSettings;
    std::optional<AudioSettings> audioSettings;
    std::map<std::string, AssetWriter::FinishHandler> finishing; // by path

    std::mutex mutex; // guards the calls
    std::vector<std::string> calls;
};

class FakeAssetWriterInput final : public AssetWriterInput {
public:
    FakeAssetWriterInput(WriterScript& script, MediaType type) : script_(script), type_(type) {}

    MediaType mediaType() const override { return type_; }
    void setExpectsMediaDataInRealTime(bool realTime) override {
        realTime_ = realTime;
        script_.add(name() + (realTime ? " real time" : " not real time"));
    }
    bool expectsMediaDataInRealTime() const override { return realTime_; }
    bool isReadyForMoreMediaData() const override { return script_.ready; }
    bool appendSampleBuffer(const SampleBuffer& sample) override {
        std::string what = " append ";
        if (sample.cameraFrame) what += "frame ";
        if (sample.mirroring.horizontal) what += "mirrored ";
        if (sample.mirroring.vertical) what += "upside down ";
        script_.add(name() + what + std::to_string(sample.presentationTimeStamp.value) + "/" +
                    std::to_string(sample.presentationTimeStamp.timescale));
        return !script_.refuseSamples;
    }
    void markAsFinished() override { script_.add(name() + " finished"); }

private:
    std::string name() const { return type_ == MediaType::video ? "video" : "audio"; }

    WriterScript& script_;
    MediaType type_;
    bool realTime_ = false;
};

class FakeAssetWriter final : public AssetWriter {
public:
    FakeAssetWriter(WriterScript& script, std::string path) : script_(script), path_(std::move(path)) {}
    ~FakeAssetWriter() override { script_.add("writer gone " + path_); }

    bool canAddInput(const AssetWriterInput& input) const override {
        return input.mediaType() == MediaType::video ? !script_.refuseVideo : !script_.refuseAudio;
    }
    void addInput(std::shared_ptr<AssetWriterInput> input) override {
        script_.add(input->mediaType() == MediaType::video ? "add video" : "add audio");
    }
    bool startWriting() override {
        script_.add("start");
        if (script_.refuseStart) status_ = AssetWriterStatus::failed;
        return !script_.refuseStart;
    }
    void startSessionAtSourceTime(const MediaTime& time) override {
        script_.add("session " + std::to_string(time.value) + "/" + std::to_string(time.timescale));
    }
    void finishWritingWithCompletionHandler(FinishHandler handler) override {
        script_.add("finish");
        FinishHandler finish = [this, handler = std::move(handler)] {
            const bool fails = script_.refuseSamples || status_ == AssetWriterStatus::failed;
            status_ = fails ? AssetWriterStatus::failed : AssetWriterStatus::completed;
            handler();
        };
        if (script_.finishAtOnce)
            finish();
        else
            script_.finishing[path_] = std::move(finish);
    }
    AssetWriterStatus status() const override { return status_; }
    Error error() const override { return script_.error; }

private:
    WriterScript& script_;
    std::string path_;
    AssetWriterStatus status_ = AssetWriterStatus::unknown;
};

class FakeAssetWriterPlatform final : public AssetWriterPlatform {
public:
    explicit FakeAssetWriterPlatform(WriterScript& script) : script_(script) {}

    std::unique_ptr<AssetWriter> makeWriter(const std::string& path, MovieFileType type,
                                            Error& error) override {
        script_.add((type == MovieFileType::mpeg4 ? "mpeg4 " : "quicktime ") + path);
        if (!script_.refuseWriter) return std::make_unique<FakeAssetWriter>(script_, path);
        error = {ErrorCode::denied, "cannot be made", "fake"};
        return nullptr;
    }
    std::shared_ptr<AssetWriterInput> makeVideoInput(const std::optional<VideoSettings>& settings) override {
        script_.videoSettings = settings;
        return std::make_shared<FakeAssetWriterInput>(script_, MediaType::video);
    }
    std::shared_ptr<AssetWriterInput> makeAudioInput(const std::optional<AudioSettings>& settings) override {
        script_.audioSettings = settings;
        return std::make_shared<FakeAssetWriterInput>(script_, MediaType::audio);
    }

private:
    WriterScript& script_;
};

} // namespace tavelo::testing
