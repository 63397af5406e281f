// SPDX-License-Identifier: MIT
#include "platform/linux/pipewire/buffer_memory.h"

#include <gmock/gmock.h>
#include <spa/buffer/meta.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <numeric>
#include <vector>

#include "platform/common/file_descriptor.h"

namespace tavelo::testing {
namespace {

using namespace std::chrono_literals;

class BufferMemoryTest : public ::testing::Test {
protected:
    BufferMemoryTest() {
        std::iota(memory_.begin(), memory_.end(), std::uint8_t{0});
        data_.type = SPA_DATA_MemPtr;
        data_.data = memory_.data();
        data_.maxsize = std::uint32_t(memory_.size());
        data_.chunk = &chunk_;
        chunk_.size = 50;
        meta_ = {SPA_META_Header, sizeof header_, &header_};
        header_.pts = -1;
        buffer_.n_datas = 1;
        buffer_.datas = &data_;
        buffer_.n_metas = 1;
        buffer_.metas = &meta_;
    }

    std::array<std::uint8_t, 100> memory_{};
    spa_chunk chunk_{};
    spa_data data_{};
    spa_meta_header header_{};
    spa_meta meta_{};
    spa_buffer buffer_{};
};

TEST_F(BufferMemoryTest, AFrameBeginsAtItsOffset) {
    chunk_.offset = 7;
    chunk_.stride = 25;
    const BufferFrame frame = frameIn(buffer_, nullptr);
    EXPECT_EQ(frame.bytes.data(), memory_.data() + 7);
    EXPECT_EQ(frame.bytes.size(), 50U);
    EXPECT_EQ(frame.stride, 25U);
    EXPECT_FALSE(frame.damaged);
    EXPECT_FALSE(frame.time);
}

TEST_F(BufferMemoryTest, WhatASourceSaysNeverLeavesTheMemory) {
    chunk_.offset = 90;
    EXPECT_EQ(frameIn(buffer_, nullptr).bytes.size(), 10U);
    chunk_.offset = 0xFFFFFFFF;
    chunk_.size = 0xFFFFFFFF;
    EXPECT_TRUE(frameIn(buffer_, nullptr).bytes.empty());
    EXPECT_TRUE(frameIn(buffer_, nullptr).damaged);
    chunk_.offset = 0;
    EXPECT_EQ(frameIn(buffer_, nullptr).bytes.size(), memory_.size());
    chunk_.stride = -25;
    EXPECT_EQ(frameIn(buffer_, nullptr).stride, 0U);
}

TEST_F(BufferMemoryTest, ABufferWithoutMemoryIsDamaged) {
    data_.data = nullptr;
    EXPECT_TRUE(frameIn(buffer_, nullptr).damaged);
    data_.chunk = nullptr;
    EXPECT_TRUE(frameIn(buffer_, nullptr).damaged);
    buffer_.n_datas = 0;
    EXPECT_TRUE(frameIn(buffer_, nullptr).damaged);
}

TEST_F(BufferMemoryTest, TheHeaderHasTheTimeAndTheDamage) {
    header_.pts = 5'000'000'000;
    EXPECT_EQ(frameIn(buffer_, nullptr).time, 5s);
    header_.flags = SPA_META_HEADER_FLAG_CORRUPTED;
    EXPECT_TRUE(frameIn(buffer_, nullptr).damaged);
    header_.flags = SPA_META_HEADER_FLAG_DISCONT;
    EXPECT_FALSE(frameIn(buffer_, nullptr).damaged);
    header_.pts = 0; // a source without a clock
    EXPECT_FALSE(frameIn(buffer_, nullptr).time);
    buffer_.n_metas = 0;
    EXPECT_FALSE(frameIn(buffer_, nullptr).time);
}

// A file stands for the device's memory: it is mapped in the same way.
TEST_F(BufferMemoryTest, AMappingBeginsWhereTheBufferDoesAndEndsWithItsOwner) {
    const FileDescriptor file(::memfd_create("device", MFD_CLOEXEC));
    std::vector<std::uint8_t> content(9000);
    std::iota(content.begin(), content.end(), std::uint8_t{0});
    ASSERT_EQ(::write(file.get(), content.data(), content.size()), ssize_t(content.size()));
    data_.fd = file.get();
    data_.mapoffset = 5001;
    data_.maxsize = 3000;
    {
        const DmaMemory memory(data_);
        ASSERT_NE(memory.bytes(), nullptr);
        chunk_.offset = 2;
        const BufferFrame frame = frameIn(buffer_, &memory);
        EXPECT_EQ(frame.bytes.data(), memory.bytes() + 2);
        EXPECT_EQ(frame.bytes[0], content[5003]);
        EXPECT_EQ(frame.bytes[49], content[5052]);
    }
    data_.fd = -1;
    const DmaMemory none(data_);
    EXPECT_EQ(none.bytes(), nullptr);
    EXPECT_TRUE(frameIn(buffer_, &none).damaged);
}

TEST_F(BufferMemoryTest, AMappingThatMovesIsStillTheSame) {
    const FileDescriptor file(::memfd_create("device", MFD_CLOEXEC));
    ASSERT_EQ(::write(file.get(), memory_.data(), memory_.size()), ssize_t(memory_.size()));
    data_.fd = file.get();
    DmaMemory memory(data_);
    const std::uint8_t* const bytes = memory.bytes();
    DmaMemory moved(std::move(memory));
    EXPECT_EQ(moved.bytes(), bytes);
    DmaMemory assigned;
    assigned = std::move(moved);
    EXPECT_EQ(assigned.bytes()[99], 99);
}

} // namespace
} // namespace tavelo::testing
