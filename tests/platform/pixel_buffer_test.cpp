// SPDX-License-Identifier: MIT
#include "platform/pixel_buffer.h"

#include <gtest/gtest.h>

namespace tavelo {
namespace {

TEST(PixelBuffer, BgraHasOnePaddedPlaneOfZeroes) {
    const auto buffer = PixelBuffer::create(PixelFormat::bgra32, 33, 5);
    ASSERT_TRUE(buffer);
    EXPECT_EQ(buffer->planeCount(), 0U);
    EXPECT_EQ(buffer->planes().size(), 1U);
    EXPECT_EQ(buffer->bytesPerRow(), 192U);
    for (std::size_t i = 0; i < buffer->bytesPerRow() * buffer->height(); ++i)
        ASSERT_EQ(buffer->baseAddress()[i], 0);
}

TEST(PixelBuffer, Nv12IsPlanarWithHalfTheChroma) {
    const auto buffer = PixelBuffer::create(PixelFormat::nv12, 641, 481);
    ASSERT_TRUE(buffer);
    EXPECT_EQ(buffer->planeCount(), 2U);
    EXPECT_EQ(buffer->planes()[1].width, 321U);
    EXPECT_EQ(buffer->planes()[1].height, 241U);
    EXPECT_GE(buffer->planes()[1].bytesPerRow, 642U);
    const PixelBuffer::Plane& luma = buffer->planes()[0];
    EXPECT_EQ(buffer->planes()[1].baseAddress, luma.baseAddress + luma.bytesPerRow * luma.height);
}

TEST(PixelBuffer, EmptySizesGiveNone) {
    EXPECT_FALSE(PixelBuffer::create(PixelFormat::bgra32, 0, 5));
    EXPECT_FALSE(PixelBuffer::create(PixelFormat::bgra32, 5, 0));
}

TEST(PixelBuffer, KeepsTheOwnerOfWrappedMemory) {
    const auto owner = std::make_shared<std::vector<std::uint8_t>>(64);
    {
        const PixelBuffer buffer(PixelFormat::bgra32, 4, 4, {{owner->data(), 4, 4, 16}}, owner);
        EXPECT_EQ(owner.use_count(), 2);
    }
    EXPECT_EQ(owner.use_count(), 1);
}

} // namespace
} // namespace tavelo
