// SPDX-License-Identifier: MIT
#include "bench/peers/preload/open_files.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <utility>

#include "bench/peers/link/camera_link.h"
#include "bench/peers/link/link_socket.h"
#include "bench/peers/preload/camera_file.h"
#include "bench/peers/preload/observed_file.h"
#include "bench/peers/preload/real_calls.h"

namespace tavelo::bench {
namespace {

std::string variable(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? std::string() : std::string(value);
}

} // namespace

OpenFiles& OpenFiles::instance() {
    static OpenFiles* const files = std::unique_ptr<OpenFiles>(new OpenFiles).release();
    return *files;
}

OpenFiles::OpenFiles()
    : node_(variable("TAVELO_PEERS_NODE")),
      camera_(variable("TAVELO_PEERS_CAMERA")),
      log_(variable("TAVELO_PEERS_LOG")) {}

bool OpenFiles::isNode(const char* path) const {
    return path != nullptr && !node_.empty() && node_ == path;
}

int OpenFiles::open(int flags) {
    log_.start(); // not earlier: it opens files, which is what this object watches
    std::shared_ptr<DeviceFile> file;
    int descriptor = -1;
    if (camera_.empty()) {
        descriptor = realCalls().open(node_.c_str(), flags);
        file = std::make_shared<ObservedFile>(log_);
    } else {
        descriptor = openPretended(flags, file);
    }
    if (descriptor >= 0) add(descriptor, std::move(file));
    return descriptor;
}

int OpenFiles::openPretended(int flags, std::shared_ptr<DeviceFile>& file) {
    FileDescriptor link = connectLink(camera_);
    Greeting greeting;
    FileDescriptor frames;
    if (!link.isOpen() || !receiveMessage(link.get(), greeting, &frames) || greeting.modeCount == 0) {
        errno = ENODEV;
        return -1;
    }
    file = std::make_shared<CameraFile>(std::move(link), greeting, log_);
    // A duplicate, because only the program may close what it gets.
    const auto& real = realCalls();
    const int kind = (flags & O_CLOEXEC) != 0 ? F_DUPFD_CLOEXEC : F_DUPFD;
    const int descriptor = real.fcntl(frames.get(), kind, 0);
    if (descriptor >= 0) real.fcntl(descriptor, F_SETFL, flags & O_NONBLOCK);
    return descriptor;
}

std::shared_ptr<DeviceFile> OpenFiles::find(int descriptor) const {
    const std::lock_guard lock(mutex_);
    const auto entry = std::ranges::find(entries_, descriptor, &Entry::descriptor);
    return entry == entries_.end() ? nullptr : entry->file;
}

void OpenFiles::add(int descriptor, std::shared_ptr<DeviceFile> file) {
    const std::lock_guard lock(mutex_);
    entries_.push_back({descriptor, std::move(file)});
}

void OpenFiles::duplicated(int from, int to) {
    if (from == to) return;
    closed(to);
    if (auto file = find(from)) add(to, std::move(file));
}

void OpenFiles::closed(int descriptor) {
    std::shared_ptr<DeviceFile> last; // destroyed without the lock: it closes files of its own
    const std::lock_guard lock(mutex_);
    const auto entry = std::ranges::find(entries_, descriptor, &Entry::descriptor);
    if (entry == entries_.end()) return;
    last = std::move(entry->file);
    entries_.erase(entry);
}

} // namespace tavelo::bench
