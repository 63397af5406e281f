// SPDX-License-Identifier: MIT
#include "platform/common/pixel_buffer_pool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "platform/serial_queue.h"

namespace tavelo {
namespace {

TEST(PixelBufferPool, GivesThePictureAgainOnceNobodyHoldsIt) {
    PixelBufferPool pool;
    auto first = pool.take(PixelFormat::bgra32, 4, 4);
    ASSERT_TRUE(first);
    const PixelBuffer* address = first.get();
    const auto second = pool.take(PixelFormat::bgra32, 4, 4);
    EXPECT_NE(second.get(), address);
    first.reset();
    EXPECT_EQ(pool.take(PixelFormat::bgra32, 4, 4).get(), address);
}

TEST(PixelBufferPool, GivesNothingWhileAllAreHeld) {
    PixelBufferPool pool(2);
    auto first = pool.take(PixelFormat::bgra32, 4, 4);
    const auto second = pool.take(PixelFormat::bgra32, 4, 4);
    EXPECT_FALSE(pool.take(PixelFormat::bgra32, 4, 4));
    first.reset();
    EXPECT_TRUE(pool.take(PixelFormat::bgra32, 4, 4));
}

TEST(PixelBufferPool, LeavesPicturesOfAnOldSizeToTheirHolders) {
    PixelBufferPool pool(1);
    const auto old = pool.take(PixelFormat::bgra32, 4, 4);
    const auto fresh = pool.take(PixelFormat::bgra32, 8, 2);
    ASSERT_TRUE(fresh);
    EXPECT_EQ(fresh->width(), 8U);
    EXPECT_EQ(old->width(), 4U);
}

TEST(PixelBufferPool, RefusesASideOfZero) {
    PixelBufferPool pool;
    EXPECT_FALSE(pool.take(PixelFormat::bgra32, 0, 4));
}

TEST(PixelBufferPool, APictureReadElsewhereIsNotWrittenMeanwhile) {
    PixelBufferPool pool(2);
    SerialQueue queue("reader");
    for (int i = 0; i < 2000; ++i) {
        const auto picture = pool.take(PixelFormat::bgra32, 16, 16);
        if (!picture) {
            queue.sync([] {});
            continue;
        }
        const std::size_t bytes = picture->bytesPerRow() * picture->height();
        {
            const auto lock = picture->lock();
            std::memset(picture->baseAddress(), i & 0xFF, bytes);
        }
        queue.async([picture, bytes, i] {
            const auto lock = picture->lock();
            const std::uint8_t* pixels = picture->baseAddress();
            EXPECT_TRUE(
                std::all_of(pixels, pixels + bytes, [i](std::uint8_t value) { return value == (i & 0xFF); }));
        });
    }
    queue.sync([] {});
}

} // namespace
} // namespace tavelo
