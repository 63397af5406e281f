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

} // namespace tavelo
