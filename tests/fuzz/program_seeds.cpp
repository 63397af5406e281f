// SPDX-License-Identifier: MIT
// What other programs and people say to ours.
#include <initializer_list>

#include "platform/uvc/uvc_protocol.h"
#include "platform/virtual/firmware/virtual_camera_model.h"
#include "seed_files.h"

namespace tavelo::fuzz {
namespace {

namespace fs = std::filesystem;

// USB/IP has the most significant byte first.
void appendBig(Bytes& bytes, std::uint32_t value, std::size_t size = 4) {
    for (std::size_t i = size; i > 0; --i)
        bytes.push_back(static_cast<std::uint8_t>(value >> 8 * (i - 1)));
}

void appendOperation(Bytes& bytes, std::uint16_t code) {
    appendBig(bytes, 0x0111, 2);
    appendBig(bytes, code, 2);
    appendBig(bytes, 0);
}

struct Submit {
    std::uint32_t sequence;
    bool in;
    std::uint32_t endpoint;
    std::uint32_t length;
    std::uint32_t packets;
    Bytes setup;
};

void appendSubmit(Bytes& bytes, const Submit& submit) {
    for (const std::uint32_t field : {1U, submit.sequence, 0x10001U, submit.in ? 1U : 0U, submit.endpoint, 0U,
                                      submit.length, 0U, submit.packets, 0U})
        appendBig(bytes, field);
    bytes.insert(bytes.end(), submit.setup.begin(), submit.setup.end());
}

void writePackets(const fs::path& folder) {
    Bytes list;
    appendOperation(list, 0x8005);
    writeSeed(folder / "list", list);
    Bytes import;
    appendOperation(import, 0x8003);
    append(import, "1-1");
    import.resize(import.size() + 29);
    writeSeed(folder / "import", import);
    const Bytes noSetup(8);
    appendSubmit(import, {1, true, 0, 18, 0, {0x80, 6, 0, 1, 0, 0, 18, 0}});
    appendSubmit(import, {2, true, 0, 2, 0, {0xA1, 0x81, 0, 2, 0, 2, 2, 0}});
    appendSubmit(import, {3, false, 0, 2, 0, {0x21, 1, 0, 2, 0, 2, 2, 0}});
    import.insert(import.end(), {5, 0});
    // The lamp of the maker's unit.
    const std::uint8_t unit = virtualCameraModel(1).extensionUnitID;
    for (const std::uint8_t request : {codeOf(UvcRequest::getLen), codeOf(UvcRequest::getMax)})
        appendSubmit(import, {request, true, 0, 2, 0, {0xA1, request, 0, 1, 0, unit, 2, 0}});
    appendSubmit(import, {6, false, 0, 2, 0, {0x21, 1, 0, 1, 0, unit, 2, 0}});
    import.insert(import.end(), {1, 5});
    appendSubmit(import, {4, true, 1, 1024, 1, noSetup});
    for (const std::uint32_t field : {0U, 1024U, 0U, 0U})
        appendBig(import, field);
    for (const std::uint32_t field : {2U, 5U, 0x10001U, 0U, 0U, 4U})
        appendBig(import, field);
    import.resize(import.size() + 24);
    writeSeed(folder / "transfers", import);
}

void writeArguments(const fs::path& folder) {
    Bytes input;
    appendText(input, "/tmp/movie.mp4");
    appendNumber(input, 1);
    appendNumber(input, 0);
    appendNumber(input, 0x40140000);      // 5.0
    input.insert(input.end(), {1, 1, 1}); // force
    input.insert(input.end(), {2, 3, 4}); // two values, the first a number
    appendNumber(input, 12);
    input.insert(input.end(), {7, 0}); // and a text
    appendText(input, "50%");
    writeSeed(folder / "set", input);
}

void writeLines(const fs::path& folder, const std::vector<std::vector<std::string_view>>& lines,
                std::initializer_list<std::uint8_t> before = {}) {
    std::size_t number = 0;
    for (const auto& line : lines) {
        Bytes input = before;
        for (const std::string_view word : line)
            appendText(input, word);
        writeSeed(folder / std::to_string(++number), input);
    }
}

void writeCommandLines(const fs::path& folder) {
    writeLines(folder / "panel-lines",
               {{"--help"},
                {"--version"},
                {"--virtual-cameras", "2", "--size", "1280x720", "--fps", "30", "--format", "MJPG"},
                {"--transport", "usb", "--renderer", "cpu", "--verbose"},
                {"--snapshot", "still.png", "--camera", "1", "--mirror"},
                {"--record=movie.mp4", "--duration=2.5"},
                {"--screenshot", "window.png"},
                {"--service"},
                {"--manual"}});
    writeLines(folder / "taveloctl-lines",
               {{"--help"},
                {"--version", "--json"},
                {"list", "--json"},
                {"-c", "0x142000001bcf2b90", "get", "zoom", "pan"},
                {"set", "brightness=+5", "zoom=50%", "power-line-frequency=50hz", "focus==-5", "--force"},
                {"set", "gain=default", "--transport", "usb"},
                {"apply", "1"},
                {"save", "--mirror", "on", "2"},
                {"copy", "1", "2", "--to-camera", "2"},
                {"import", "profiles.json"},
                {"export", "--all"},
                {"snapshot", "--size", "1280x720", "--fps", "30", "still.png"},
                {"record", "--duration", "2", "movie.mp4"},
                {"monitor", "--count", "3"},
                {"watch", "--keep", "1"},
                {"probe", "--pack", "camera.json"},
                {"complete", "--virtual-cameras", "2", "set", "bri"}});
    writeLines(folder / "orders",
               {{"get 1 brightness", "set 1 brightness 5", "set 2 panTilt 3600 -3600", "limits 1 zoom"},
                {"stall 1 zoom writes 4", "silence 2 focus", "short 1 gain 1", "delay 1 5 hue", "clear 1"},
                {"vanish 1", "status 1", "plug 1", "status 2"}},
               {0});
    writeLines(
        folder / "orders/options",
        {{"--help"}, {"--cameras", "2", "--bulk", "--port", "0"}, {"--two-functions", "--format", "yuyv"}},
        {1});
}

void appendBox(Bytes& bytes, std::string_view name, const Bytes& content) {
    appendBig(bytes, static_cast<std::uint32_t>(content.size() + 8));
    append(bytes, name);
    bytes.insert(bytes.end(), content.begin(), content.end());
}

Bytes boxOf(std::string_view name, const Bytes& content) {
    Bytes bytes;
    appendBox(bytes, name, content);
    return bytes;
}

Bytes joined(std::initializer_list<Bytes> parts) {
    Bytes all;
    for (const Bytes& part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

Bytes trackOf(std::string_view handler, const Bytes& sampleEntry) {
    Bytes handlerBox(8);
    append(handlerBox, handler);
    handlerBox.resize(24);
    const Bytes samples = boxOf("stbl", boxOf("stsd", joined({Bytes(8), sampleEntry})));
    const Bytes media = joined({boxOf("hdlr", handlerBox), boxOf("minf", samples)});
    return boxOf("trak", joined({boxOf("tkhd", Bytes(84)), boxOf("mdia", media)}));
}

void writeMovie(const fs::path& file) {
    const Bytes configuration = boxOf("avcC", {1, 77, 0, 30, 255, 225, 0, 4, 103, 77, 0, 30, 1, 0, 0});
    const Bytes picture = trackOf("vide", boxOf("avc1", joined({Bytes(78), configuration})));
    const Bytes sound = trackOf("soun", boxOf("mp4a", Bytes(28)));
    const Bytes header = boxOf("moov", joined({boxOf("mvhd", Bytes(100)), picture, sound}));
    writeSeed(file,
              joined({boxOf("ftyp", Bytes(16)), header, boxOf("free", Bytes(1024)), boxOf("mdat", {1, 2})}));
}

} // namespace

void writeProgramSeeds(const fs::path& folder) {
    writePackets(folder / "usbip");
    writeArguments(folder / "arguments");
    writeCommandLines(folder);
    writeMovie(folder / "movies/header");
}

} // namespace tavelo::fuzz
