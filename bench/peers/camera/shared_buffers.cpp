// SPDX-License-Identifier: MIT
#include "bench/peers/camera/shared_buffers.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <utility>

#include "bench/peers/link/camera_link.h"

namespace tavelo::bench {
namespace {

std::uint32_t wholePages(std::uint32_t bytes) {
    const auto page = std::uint32_t(::sysconf(_SC_PAGESIZE));
    return (bytes + page - 1) / page * page;
}

} // namespace

void SharedBuffers::Unmap::operator()(std::uint8_t* memory) const {
    ::munmap(memory, length);
}

SharedBuffers::Buffer SharedBuffers::make(std::uint32_t bytes) {
    FileDescriptor file(::memfd_create(bufferMemoryName, MFD_CLOEXEC));
    if (!file.isOpen() || ::ftruncate(file.get(), off_t(bytes)) != 0) return {};
    void* const memory = ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, file.get(), 0);
    if (memory == MAP_FAILED) return {};
    return {std::move(file), {static_cast<std::uint8_t*>(memory), Unmap{bytes}}};
}

SharedBuffers::SharedBuffers(std::uint32_t count, std::uint32_t bytes) : bytesEach_(wholePages(bytes)) {
    while (buffers_.size() < count) {
        Buffer buffer = make(bytesEach_);
        if (!buffer.memory) {
            buffers_.clear();
            return;
        }
        buffers_.push_back(std::move(buffer));
    }
}

std::span<std::uint8_t> SharedBuffers::buffer(std::uint32_t index) const {
    return {buffers_[index].memory.get(), bytesEach_};
}

} // namespace tavelo::bench
