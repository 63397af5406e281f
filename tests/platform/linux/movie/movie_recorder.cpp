// SPDX-License-Identifier: MIT
// Records until it is killed, fails or is done: movie_recorder PATH WIDTH HEIGHT GRAIN FRAMES
// [WORD...]. "sound" asks for a sound track, "hidden" is for a file system without unnamed files. Prints the
// number of each frame as it is taken, "finishing" before the end, and how it ended.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <future>
#include <string>
#include <thread>

#include "moving_picture.h"
#include "platform/linux/movie/ffmpeg_asset_writer_platform.h"
#include "platform/linux/movie/movie_pipeline.h"
#include "support/recorded_diagnostics.h"

namespace {

using namespace tavelo;

void say(const char* text) {
    std::printf("%s\n", text);
    std::fflush(stdout);
}

MovieTools toolsFor(bool hidden) {
    MovieTools tools;
    if (hidden)
        tools.makeOrdinary = [](const MovieFile& movie, MovieFileType type, const MovieContent& content,
                                const std::stop_token& hurry) {
            return makeOrdinaryMovie(movie, type, content, hurry, FileBeside::Kind::hidden);
        };
    return tools;
}

std::string endingOf(const AssetWriter& writer) {
    if (writer.status() == AssetWriterStatus::completed) return "completed";
    const Error error = writer.error();
    return error.text + (error.kept ? "; kept " + std::to_string(error.kept->count()) : "");
}

int record(char** arguments, bool sound, bool hidden) {
    testing::RecordedDiagnostics diagnostics;
    const auto platform = makeFfmpegAssetWriterPlatform(diagnostics, toolsFor(hidden));
    Error error;
    const auto writer = platform->makeWriter(arguments[1], MovieFileType::mpeg4, error);
    if (!writer) {
        say(error.text.c_str());
        return 1;
    }
    VideoSettings settings;
    settings.width = std::uint32_t(std::atoi(arguments[2]));
    settings.height = std::uint32_t(std::atoi(arguments[3]));
    const auto video = platform->makeVideoInput(settings);
    writer->addInput(video);
    if (sound) writer->addInput(platform->makeAudioInput(AudioSettings()));
    const auto time = [](int frame) {
        return MediaTime::fromNanoseconds(std::chrono::seconds(1000) +
                                          frame * std::chrono::nanoseconds(33'333'333));
    };
    bool going = writer->startWriting();
    writer->startSessionAtSourceTime(time(0));
    const int frames = std::atoi(arguments[5]);
    for (int i = 0; i < frames && going; ++i) {
        while (!video->isReadyForMoreMediaData())
            std::this_thread::yield();
        const auto picture = testing::makeMovingPicture(*settings.width, *settings.height, i,
                                                        unsigned(std::atoi(arguments[4])));
        going = video->appendSampleBuffer({picture, time(i)});
        if (going) say(std::to_string(i + 1).c_str());
    }
    say("finishing");
    std::promise<void> finished;
    writer->finishWritingWithCompletionHandler([&] { finished.set_value(); });
    finished.get_future().wait();
    say(endingOf(*writer).c_str());
    return writer->status() == AssetWriterStatus::completed ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 6) return 2;
    const auto has = [&](const char* word) {
        return std::any_of(argv + 6, argv + argc,
                           [&](const char* given) { return std::strcmp(given, word) == 0; });
    };
    return record(argv, has("sound"), has("hidden"));
}
