// SPDX-License-Identifier: MIT
// Writes the seed corpora: descriptors of the virtual cameras, a few packets, pictures, frames and packs;
// what cameras, the kernel and other programs say is in the files beside this one.
//
// Usage: fuzz_write_seeds FOLDER      creates a folder of each in FOLDER
#include <cstdio>
// jpeglib.h needs size_t and FILE from <cstdio>
#include <jpeglib.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/virtual/firmware/virtual_camera_descriptors.h"
#include "platform/virtual/firmware/virtual_camera_model.h"
#include "probe/json/pack.h"
#include "seed_files.h"

namespace tavelo {
namespace {

namespace fs = std::filesystem;
using fuzz::Bytes;

void write(const fs::path& file, const Bytes& bytes) {
    fuzz::writeSeed(file, bytes);
}

Bytes joined(Bytes first, const Bytes& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

void writeDescriptors(const fs::path& folder) {
    for (int number = 1; number <= 4; ++number) {
        VirtualCameraModel model = virtualCameraModel(number);
        for (const StreamTransport transport : {StreamTransport::isochronous, StreamTransport::bulk}) {
            model.transport = transport;
            const std::string name =
                std::to_string(number) + (transport == StreamTransport::bulk ? "-bulk" : "-isochronous");
            const Bytes device = makeDeviceDescriptor(model);
            const Bytes first = makeConfigurationDescriptor(model);
            write(folder / name, joined(device, first));
            VirtualCameraModel second = virtualCameraModel(number + 4);
            second.firstInterface = 2;
            const Bytes further = makeConfigurationDescriptor(second);
            write(folder / (name + "-two-functions"),
                  joined(device, joined(first, {further.begin() + 9, further.end()})));
        }
    }
}

void appendPacket(Bytes& input, const Bytes& packet) {
    input.push_back(static_cast<std::uint8_t>(packet.size()));
    input.push_back(static_cast<std::uint8_t>(packet.size() >> 8U));
    input.insert(input.end(), packet.begin(), packet.end());
}

// Two frames of two payloads each.
void writePackets(const fs::path& folder) {
    for (const bool isochronous : {false, true}) {
        for (const bool jpeg : {false, true}) {
            const std::uint8_t wholeFrame = jpeg ? 0 : 16; // in units of four bytes
            Bytes input{static_cast<std::uint8_t>(isochronous ? 1 : 0), wholeFrame, 32, 8};
            for (std::uint8_t frame = 0; frame < 2; ++frame) {
                Bytes begin{12, static_cast<std::uint8_t>(0x8C | frame), 1, 2, 3, 4, 5, 6, 7, 8, 9, 0};
                begin.insert(begin.end(), {0xFF, 0xD8});
                begin.resize(12 + 32, 0x55);
                Bytes end{2, static_cast<std::uint8_t>(0x82 | frame)};
                end.resize(2 + 32, 0xAA);
                appendPacket(input, begin);
                appendPacket(input, end);
            }
            write(folder / (std::string(isochronous ? "isochronous" : "bulk") + (jpeg ? "-jpeg" : "-raw")),
                  input);
        }
    }
}

Bytes picture(int components, int horizontal, int vertical, unsigned restart) {
    constexpr unsigned side = 40;
    jpeg_compress_struct encoder{};
    jpeg_error_mgr errors{};
    encoder.err = jpeg_std_error(&errors);
    jpeg_create_compress(&encoder);
    unsigned char* out = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&encoder, &out, &size);
    encoder.image_width = encoder.image_height = side;
    encoder.input_components = components;
    encoder.in_color_space = components == 1 ? JCS_GRAYSCALE : JCS_RGB;
    jpeg_set_defaults(&encoder);
    encoder.comp_info[0].h_samp_factor = horizontal;
    encoder.comp_info[0].v_samp_factor = vertical;
    encoder.restart_interval = restart;
    jpeg_start_compress(&encoder, TRUE);
    Bytes row(std::size_t{side} * static_cast<unsigned>(components));
    while (encoder.next_scanline < side) {
        for (std::size_t i = 0; i < row.size(); ++i)
            row[i] = static_cast<std::uint8_t>(7 * i * (encoder.next_scanline + 1));
        JSAMPROW rows[]{row.data()};
        jpeg_write_scanlines(&encoder, rows, 1);
    }
    jpeg_finish_compress(&encoder);
    Bytes bytes(out, out + size);
    jpeg_destroy_compress(&encoder);
    std::free(out);
    return bytes;
}

void writePictures(const fs::path& folder) {
    write(folder / "420", picture(3, 2, 2, 0));
    write(folder / "422", picture(3, 2, 1, 0));
    write(folder / "444", picture(3, 1, 1, 0));
    write(folder / "422-restart", picture(3, 2, 1, 2));
    write(folder / "grey", picture(1, 1, 1, 0));
}

void writePacks(const fs::path& folder) {
    for (int number = 1; number <= 2; ++number) {
        const VirtualCameraModel model = virtualCameraModel(number);
        CameraRecord record{"1.0", "6.1.0", "kernel", "/dev/video0", "Camera"};
        record.speed = 480;
        record.descriptors = {makeDeviceDescriptor(model), makeConfigurationDescriptor(model)};
        ControlRecord control;
        control.entity = 2;
        control.selector = static_cast<std::uint8_t>(number);
        control.listed = true;
        for (RawAnswer& answer : control.answers)
            answer.bytes = {1, 0};
        record.controls.push_back(control);
        const std::string text = writePack(record);
        write(folder / std::to_string(number), {text.begin(), text.end()});
    }
}

// Each format at one size, wanted in each way; two frames.
void writeFrames(const fs::path& folder) {
    constexpr int formats = 6;
    constexpr std::uint8_t side = 40;
    for (std::uint8_t format = 0; format < formats; ++format) {
        for (std::uint8_t wanted = 0; wanted < 4; ++wanted) {
            Bytes frame(std::size_t{side} * side * 2);
            for (std::size_t i = 0; i < frame.size(); ++i)
                frame[i] = static_cast<std::uint8_t>(7 * i);
            if (format == formats - 1) frame = picture(3, 2, 1, 0);
            Bytes input{format, side, side, 0, 0, 0, wanted, side / 2, side / 2, 127};
            write(folder / (std::to_string(format) + "-" + std::to_string(wanted)),
                  joined(joined(input, frame), frame));
        }
    }
}

} // namespace
} // namespace tavelo

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: fuzz_write_seeds FOLDER\n");
        return 2;
    }
    const std::filesystem::path folder = argv[1];
    tavelo::writeDescriptors(folder / "descriptors");
    tavelo::writePackets(folder / "packets");
    tavelo::writePictures(folder / "pictures");
    tavelo::writeFrames(folder / "frames");
    tavelo::writePacks(folder / "packs");
    tavelo::fuzz::writeCameraSeeds(folder);
    tavelo::fuzz::writeKernelSeeds(folder);
    tavelo::fuzz::writeProgramSeeds(folder);
    return 0;
}
