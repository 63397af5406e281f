// SPDX-License-Identifier: MIT
#include "platform/linux/pipewire/buffer_memory.h"

#include <linux/dma-buf.h>
#include <spa/buffer/meta.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace tavelo {
namespace {

void synchronise(const spa_data& data, std::uint64_t what) {
    if (data.type != SPA_DATA_DmaBuf) return;
    dma_buf_sync request{DMA_BUF_SYNC_READ | what};
    while (::ioctl(int(data.fd), DMA_BUF_IOCTL_SYNC, &request) != 0 && (errno == EINTR || errno == EAGAIN)) {
    }
}

template <typename Field>
Field readOnce(const Field& field) {
    return *static_cast<const volatile Field*>(&field);
}

} // namespace

DmaMemory::DmaMemory(const spa_data& data) {
    const std::size_t page = std::size_t(::sysconf(_SC_PAGESIZE));
    const std::size_t before = data.mapoffset % page;
    length_ = data.maxsize + before;
    void* const mapped =
        ::mmap(nullptr, length_, PROT_READ, MAP_SHARED, int(data.fd), off_t(data.mapoffset - before));
    if (mapped == MAP_FAILED) return;
    mapped_ = mapped;
    bytes_ = static_cast<const std::uint8_t*>(mapped) + before;
}

DmaMemory::~DmaMemory() {
    if (mapped_ != nullptr) ::munmap(mapped_, length_);
}

DmaMemory::DmaMemory(DmaMemory&& other) noexcept
    : mapped_(std::exchange(other.mapped_, nullptr)),
      length_(other.length_),
      bytes_(std::exchange(other.bytes_, nullptr)) {}

DmaMemory& DmaMemory::operator=(DmaMemory&& other) noexcept {
    std::swap(mapped_, other.mapped_);
    std::swap(length_, other.length_);
    std::swap(bytes_, other.bytes_);
    return *this;
}

void beginReading(const spa_data& data) {
    synchronise(data, DMA_BUF_SYNC_START);
}

void endReading(const spa_data& data) {
    synchronise(data, DMA_BUF_SYNC_END);
}

BufferFrame frameIn(const spa_buffer& buffer, const DmaMemory* dma) {
    BufferFrame frame;
    frame.damaged = true;
    if (buffer.n_datas == 0 || buffer.datas[0].chunk == nullptr) return frame;
    const spa_data& data = buffer.datas[0];
    const auto* const memory = dma != nullptr ? dma->bytes() : static_cast<const std::uint8_t*>(data.data);
    const std::uint32_t offset = std::min(readOnce(data.chunk->offset), data.maxsize);
    const std::uint32_t size = std::min(readOnce(data.chunk->size), data.maxsize - offset);
    const auto flags = std::uint32_t(readOnce(data.chunk->flags));
    const std::int32_t stride = readOnce(data.chunk->stride);
    if (memory != nullptr) frame.bytes = {memory + offset, size};
    frame.stride = stride > 0 ? std::uint32_t(stride) : 0;
    frame.damaged = frame.bytes.empty() || (flags & (SPA_CHUNK_FLAG_CORRUPTED | SPA_CHUNK_FLAG_EMPTY)) != 0;
    const auto* const header = static_cast<const spa_meta_header*>(
        spa_buffer_find_meta_data(&buffer, SPA_META_Header, sizeof(spa_meta_header)));
    if (header == nullptr) return frame;
    if ((readOnce(header->flags) & SPA_META_HEADER_FLAG_CORRUPTED) != 0) frame.damaged = true;
    if (const std::int64_t time = readOnce(header->pts); time > 0)
        frame.time = std::chrono::nanoseconds(time);
    return frame;
}

} // namespace tavelo
