// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>

#include <vector>

#include "video/kt_mtk_view.h"

namespace tavelo::testing {
namespace {

using ::testing::ElementsAre;

std::shared_ptr<PixelBuffer> single(std::vector<std::uint8_t>& bytes, std::size_t height,
                                    std::size_t bytesPerRow) {
    std::vector<PixelBuffer::Plane> planes{{bytes.data(), 1, height, bytesPerRow}};
    return std::make_shared<PixelBuffer>(PixelFormat::bgra32, 1, height, std::move(planes), nullptr);
}

TEST(KTMTKViewCopy, SinglePlaneDestinationAdvancesByWhatWasCopied) {
    std::vector<std::uint8_t> from{1, 2, 3, 4, 5, 6, 7, 8};
    std::vector<std::uint8_t> to(12);
    KTMTKView::copyDataFromPixelBufferToPixelBuffer(*single(from, 2, 4), *single(to, 2, 6));
    EXPECT_THAT(to, ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 0, 0, 0, 0));
}

TEST(KTMTKViewCopy, SinglePlaneSourceAdvancesByItsOwnRows) {
    std::vector<std::uint8_t> from{1, 2, 3, 4, 9, 9, 5, 6, 7, 8, 9, 9};
    std::vector<std::uint8_t> to(8);
    KTMTKView::copyDataFromPixelBufferToPixelBuffer(*single(from, 2, 6), *single(to, 2, 4));
    EXPECT_THAT(to, ElementsAre(1, 2, 3, 4, 5, 6, 7, 8));
}

TEST(KTMTKViewCopy, CopiesAsManyRowsAsTheShorterHas) {
    std::vector<std::uint8_t> from{1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3};
    std::vector<std::uint8_t> to(8);
    KTMTKView::copyDataFromPixelBufferToPixelBuffer(*single(from, 3, 4), *single(to, 2, 4));
    EXPECT_THAT(to, ElementsAre(1, 1, 1, 1, 2, 2, 2, 2));
    std::vector<std::uint8_t> taller(16);
    KTMTKView::copyDataFromPixelBufferToPixelBuffer(*single(from, 3, 4), *single(taller, 4, 4));
    EXPECT_THAT(taller, ElementsAre(1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3, 0, 0, 0, 0));
}

std::shared_ptr<PixelBuffer> planar(std::vector<std::uint8_t>& luma, std::size_t lumaRow,
                                    std::vector<std::uint8_t>& chroma, std::size_t chromaRow) {
    std::vector<PixelBuffer::Plane> planes{{luma.data(), 2, 2, lumaRow}, {chroma.data(), 1, 1, chromaRow}};
    return std::make_shared<PixelBuffer>(PixelFormat::nv12, 2, 2, std::move(planes), nullptr);
}

TEST(KTMTKViewCopy, PlanarRowsAdvanceByEachSidesOwnLength) {
    std::vector<std::uint8_t> fromLuma{1, 2, 3, 4};
    std::vector<std::uint8_t> fromChroma{7, 8};
    std::vector<std::uint8_t> toLuma(8);
    std::vector<std::uint8_t> toChroma(3);
    KTMTKView::copyDataFromPixelBufferToPixelBuffer(*planar(fromLuma, 2, fromChroma, 2),
                                                    *planar(toLuma, 4, toChroma, 3));
    EXPECT_THAT(toLuma, ElementsAre(1, 2, 0, 0, 3, 4, 0, 0));
    EXPECT_THAT(toChroma, ElementsAre(7, 8, 0));
}

TEST(KTMTKViewCopy, PlanarSourceFillsWhatPlanesThereAre) {
    std::vector<std::uint8_t> luma{1, 2, 3, 4};
    std::vector<std::uint8_t> chroma{7, 8};
    std::vector<std::uint8_t> to(8);
    KTMTKView::copyDataFromPixelBufferToPixelBuffer(*planar(luma, 2, chroma, 2), *single(to, 2, 4));
    EXPECT_THAT(to, ElementsAre(1, 2, 0, 0, 3, 4, 0, 0));
}

} // namespace
} // namespace tavelo::testing
