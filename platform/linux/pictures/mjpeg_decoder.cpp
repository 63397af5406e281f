// SPDX-License-Identifier: MIT
#include "platform/linux/pictures/mjpeg_decoder.h"

#include <csetjmp>
#include <cstdio> // jpeglib.h needs FILE

#include <jerror.h>
#include <jpeglib.h>

#include "platform/common/frame_bounds.h"
#include "platform/linux/pictures/picture_reduction.h"

namespace tavelo {
namespace {

constexpr JDIMENSION rowsAtOnce = 16;
constexpr int mostComponents = 3;

// Whether a picture with this warning is still whole.  A missing end marker alone is harmless: if image
// data is missing too, JWRN_HIT_MARKER follows.
bool isHarmless(int warning) {
    switch (warning) {
        case JWRN_EXTRANEOUS_DATA:
        case JWRN_ADOBE_XFORM:
        case JWRN_JFIF_MAJOR:
        case JWRN_BOGUS_ICC:
        case JWRN_JPEG_EOF:
            return true;
        default:
            return false;
    }
}

} // namespace

// libjpeg reports errors through a callback that must not return.  The functions that call libjpeg are left
// by longjmp() then, so nothing in them may need a destructor.
struct MjpegDecoder::State {
    jpeg_decompress_struct jpeg{};
    jpeg_error_mgr errors{};
    std::jmp_buf escape{};
    bool created = false;
    JSAMPROW rawRows[mostComponents][2 * DCTSIZE]{}; // of one row of blocks

    State() {
        jpeg.err = jpeg_std_error(&errors);
        jpeg.client_data = this;
        errors.error_exit = [](j_common_ptr common) { leave(common); };
        errors.emit_message = [](j_common_ptr common, int level) {
            if (level < 0 && !isHarmless(common->err->msg_code)) leave(common);
        };
        errors.output_message = [](j_common_ptr) {};
        if (setjmp(escape) != 0) return;
        jpeg_create_decompress(&jpeg);
        created = true;
    }
    ~State() { jpeg_destroy_decompress(&jpeg); }
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    [[noreturn]] static void leave(j_common_ptr common) {
        std::longjmp(static_cast<State*>(common->client_data)->escape, 1);
    }

    bool readHeader(const std::uint8_t* bytes, std::size_t size) {
        if (setjmp(escape) != 0) return false;
        jpeg_abort_decompress(&jpeg);
        jpeg_mem_src(&jpeg, bytes, size);
        jpeg_read_header(&jpeg, TRUE);
        // Progressive and multi-scan pictures, which no camera sends, would be held in memory as a whole.
        if (jpeg.progressive_mode != FALSE || jpeg_has_multiple_scans(&jpeg) != FALSE) return false;
        const bool known = jpeg.jpeg_color_space == JCS_YCbCr || jpeg.jpeg_color_space == JCS_GRAYSCALE;
        return known && isShowable({jpeg.image_width, jpeg.image_height});
    }

    bool readPicture(std::uint8_t* pixels, std::size_t bytesPerRow, unsigned reduction) {
        if (setjmp(escape) != 0) return false;
        jpeg.out_color_space = JCS_EXT_BGRA;
        jpeg.scale_num = 1;
        jpeg.scale_denom = reduction;
        jpeg_start_decompress(&jpeg);
        while (jpeg.output_scanline < jpeg.output_height) {
            JSAMPROW rows[rowsAtOnce];
            const JDIMENSION left = jpeg.output_height - jpeg.output_scanline;
            const JDIMENSION count = left < rowsAtOnce ? left : rowsAtOnce;
            for (JDIMENSION i = 0; i < count; ++i)
                rows[i] = pixels + (jpeg.output_scanline + i) * bytesPerRow;
            if (jpeg_read_scanlines(&jpeg, rows, count) == 0) return false;
        }
        return true;
    }

    /// @param picture has memory for the planes
    bool readPlanes(PlanarPicture& picture) {
        if (setjmp(escape) != 0) return false;
        jpeg.raw_data_out = TRUE;
        jpeg_start_decompress(&jpeg);
        const JDIMENSION atOnce = JDIMENSION(jpeg.max_v_samp_factor) * DCTSIZE;
        while (jpeg.output_scanline < jpeg.output_height) {
            JSAMPARRAY components[mostComponents]{rawRows[0], rawRows[1], rawRows[2]};
            for (int i = 0; i < jpeg.num_components; ++i) {
                const PlanarPicture::Plane& plane = i == 0 ? picture.luma : picture.chroma[i - 1];
                const auto count = unsigned(jpeg.comp_info[i].v_samp_factor) * DCTSIZE;
                const std::size_t first = std::size_t(jpeg.output_scanline) / atOnce * count;
                for (unsigned row = 0; row < count; ++row)
                    rawRows[i][row] = picture.at(plane) + (first + row) * std::size_t(plane.bytesPerRow);
            }
            if (jpeg_read_raw_data(&jpeg, components, atOnce) == 0) return false;
        }
        return true;
    }

    bool isSampled(int component, int horizontally, int vertically) const {
        const jpeg_component_info& info = jpeg.comp_info[component];
        return info.h_samp_factor == horizontally && info.v_samp_factor == vertically;
    }
};

MjpegDecoder::MjpegDecoder() : state_(std::make_unique<State>()) {}
MjpegDecoder::~MjpegDecoder() = default;

std::optional<FrameSize> MjpegDecoder::begin(std::span<const std::uint8_t> bytes) {
    if (!state_->created || !state_->readHeader(bytes.data(), bytes.size())) return std::nullopt;
    return FrameSize{state_->jpeg.image_width, state_->jpeg.image_height};
}

bool MjpegDecoder::decode(const PixelBuffer& destination, unsigned reduction) {
    const FrameSize size = reducedSize({state_->jpeg.image_width, state_->jpeg.image_height}, reduction);
    if (destination.format() != PixelFormat::bgra32 || destination.width() != size.width ||
        destination.height() != size.height)
        return false;
    return state_->readPicture(destination.baseAddress(), destination.bytesPerRow(), reduction);
}

bool MjpegDecoder::hasPlanes() const {
    if (state_->jpeg.num_components == 1) return state_->isSampled(0, 1, 1);
    return state_->jpeg.num_components == mostComponents && state_->isSampled(1, 1, 1) &&
           state_->isSampled(2, 1, 1) && (state_->isSampled(0, 2, 1) || state_->isSampled(0, 2, 2));
}

bool MjpegDecoder::decode(PlanarPicture& planes) {
    if (!hasPlanes()) return false;
    const jpeg_decompress_struct& jpeg = state_->jpeg;
    planes.size = {jpeg.image_width, jpeg.image_height};
    planes.grey = jpeg.num_components == 1;
    planes.halfChromaRows = jpeg.comp_info[0].v_samp_factor == 2;
    std::size_t needed = 0;
    for (int i = 0; i < jpeg.num_components; ++i) {
        const jpeg_component_info& info = jpeg.comp_info[i];
        const std::size_t blockRows =
            (jpeg.image_height + std::size_t(jpeg.max_v_samp_factor) * DCTSIZE - 1) /
            (std::size_t(jpeg.max_v_samp_factor) * DCTSIZE) * std::size_t(info.v_samp_factor);
        PlanarPicture::Plane& plane = i == 0 ? planes.luma : planes.chroma[i - 1];
        plane = {needed, int(info.width_in_blocks * DCTSIZE)};
        needed += std::size_t(plane.bytesPerRow) * blockRows * DCTSIZE;
    }
    if (planes.memory.size() < needed) planes.memory.resize(needed);
    return state_->readPlanes(planes);
}

} // namespace tavelo
