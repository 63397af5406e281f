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

SharedBuffers::SharedBuffers(std::uint32_t count, std::uint32_t bytes) {
    const std::uint32_t each = wholePages(bytes);
    const std::size_t length = std::size_t(each) * count;
    FileDescriptor file(::memfd_create(bufferMemoryName, MFD_CLOEXEC));
    if (!file.isOpen() || ::ftruncate(file.get(), off_t(length)) != 0) return;
    void* const memory = ::mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED, file.get(), 0);
    if (memory == MAP_FAILED) return;
    memory_ = {static_cast<std::uint8_t*>(memory), Unmap{length}};
    file_ = std::move(file);
    count_ = count;
    bytesEach_ = each;
}

std::span<std::uint8_t> SharedBuffers::buffer(std::uint32_t index) const {
    return {memory_.get() + std::size_t(index) * bytesEach_, bytesEach_};
}

} // namespace tavelo::bench
